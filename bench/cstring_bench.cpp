// CString beside std::u16string and ICU's UnicodeString: copies, short-string
// construction, appends, Find, Replace and Mid, on the same texts.
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/unistr.h>

#include "bench/bench_support.h"
#include "vesk/string/cstring"

namespace {

using Units = std::basic_string<unsigned short>;

// Letters, so that every library sees text without zero units.
Units Letters(size_t n) {
  Units s;
  for (size_t i = 0; i < n; ++i) s += static_cast<unsigned short>(u'a' + i * 7 % 26);
  return s;
}

// The first `n` UTF-16 units of a data text.
Units DataText(const char* file, size_t n) {
  const icu::UnicodeString text = icu::UnicodeString::fromUTF8(veskbench::DataFile(file));
  const int32_t length = std::min<int32_t>(text.length(), static_cast<int32_t>(n));
  Units out(static_cast<size_t>(length), 0);
  for (int32_t i = 0; i < length; ++i) out[static_cast<size_t>(i)] = text.charAt(i);
  return out;
}

std::u16string AsU16(const Units& s) { return std::u16string(s.begin(), s.end()); }
icu::UnicodeString AsIcu(const Units& s) {
  const std::u16string u = AsU16(s);
  return icu::UnicodeString(u.data(), static_cast<int32_t>(u.size()));
}

void Register(const std::string& name, void (*fn)(benchmark::State&, const Units&), const Units& input) {
  benchmark::RegisterBenchmark(name.c_str(), [fn, input](benchmark::State& state) { fn(state, input); });
}

// ---- Copy ----

void CopyVesk(benchmark::State& state, const Units& text) {
  const CString source(text.c_str());
  for (auto _ : state) {
    CString copy(source);
    benchmark::DoNotOptimize(copy);
  }
}
void CopyU16(benchmark::State& state, const Units& text) {
  const std::u16string source = AsU16(text);
  for (auto _ : state) {
    std::u16string copy(source);
    benchmark::DoNotOptimize(copy);
  }
}
void CopyIcu(benchmark::State& state, const Units& text) {
  const icu::UnicodeString source = AsIcu(text);
  for (auto _ : state) {
    icu::UnicodeString copy(source);
    benchmark::DoNotOptimize(copy);
  }
}

// ---- Construction from a zero-terminated pointer ----

void ConstructVesk(benchmark::State& state, const Units& text) {
  const unsigned short* p = text.c_str();
  for (auto _ : state) {
    benchmark::DoNotOptimize(p);
    CString s(p);
    benchmark::DoNotOptimize(s);
  }
}
void ConstructU16(benchmark::State& state, const Units& text) {
  const std::u16string source = AsU16(text);
  const char16_t* p = source.c_str();
  for (auto _ : state) {
    benchmark::DoNotOptimize(p);
    std::u16string s(p);
    benchmark::DoNotOptimize(s);
  }
}
void ConstructIcu(benchmark::State& state, const Units& text) {
  const std::u16string source = AsU16(text);
  const char16_t* p = source.c_str();
  for (auto _ : state) {
    benchmark::DoNotOptimize(p);
    icu::UnicodeString s(p);
    benchmark::DoNotOptimize(s);
  }
}

// ---- Append in a loop: the text is the number of 8-unit chunks ----

void AppendVesk(benchmark::State& state, const Units& chunks) {
  const Units chunk = Letters(8);
  for (auto _ : state) {
    CString s;
    for (size_t i = 0; i < chunks.size(); ++i) s += chunk.c_str();
    benchmark::DoNotOptimize(s);
  }
}
void AppendU16(benchmark::State& state, const Units& chunks) {
  const std::u16string chunk = AsU16(Letters(8));
  for (auto _ : state) {
    std::u16string s;
    for (size_t i = 0; i < chunks.size(); ++i) s += chunk.c_str();
    benchmark::DoNotOptimize(s);
  }
}
void AppendIcu(benchmark::State& state, const Units& chunks) {
  const std::u16string chunk = AsU16(Letters(8));
  for (auto _ : state) {
    icu::UnicodeString s;
    for (size_t i = 0; i < chunks.size(); ++i) s.append(chunk.c_str(), 8);
    benchmark::DoNotOptimize(s);
  }
}

// ---- Find: a word near the end, and one that is absent ----

const Units kNeedles[] = {Units(reinterpret_cast<const unsigned short*>(u"planetary"), 9),
                          Units(reinterpret_cast<const unsigned short*>(u"qqqqzz"), 6)};

void FindVesk(benchmark::State& state, const Units& text) {
  const CString hay(text.c_str());
  for (auto _ : state)
    for (const Units& needle : kNeedles) benchmark::DoNotOptimize(hay.Find(needle.c_str()));
}
void FindU16(benchmark::State& state, const Units& text) {
  const std::u16string hay = AsU16(text);
  std::vector<std::u16string> needles;
  for (const Units& n : kNeedles) needles.push_back(AsU16(n));
  for (auto _ : state)
    for (const std::u16string& needle : needles) benchmark::DoNotOptimize(hay.find(needle));
}
void FindIcu(benchmark::State& state, const Units& text) {
  const icu::UnicodeString hay = AsIcu(text);
  std::vector<icu::UnicodeString> needles;
  for (const Units& n : kNeedles) needles.push_back(AsIcu(n));
  for (auto _ : state)
    for (const icu::UnicodeString& needle : needles) benchmark::DoNotOptimize(hay.indexOf(needle));
}

// ---- Replace "Mars" by "the Red Planet" in a fresh copy ----

const Units kFrom(reinterpret_cast<const unsigned short*>(u"Mars"), 4);
const Units kTo(reinterpret_cast<const unsigned short*>(u"the Red Planet"), 14);

void ReplaceVesk(benchmark::State& state, const Units& text) {
  const CString source(text.c_str());
  for (auto _ : state) {
    CString s(source);
    benchmark::DoNotOptimize(s.Replace(kFrom.c_str(), kTo.c_str(), 0));
  }
}
void ReplaceU16(benchmark::State& state, const Units& text) {
  const std::u16string source = AsU16(text), from = AsU16(kFrom), to = AsU16(kTo);
  for (auto _ : state) {
    std::u16string out;
    out.reserve(source.size());
    size_t at = 0;
    for (size_t hit; (hit = source.find(from, at)) != std::u16string::npos; at = hit + from.size()) {
      out.append(source, at, hit - at);
      out += to;
    }
    out.append(source, at, std::u16string::npos);
    benchmark::DoNotOptimize(out);
  }
}
void ReplaceIcu(benchmark::State& state, const Units& text) {
  const icu::UnicodeString source = AsIcu(text), from = AsIcu(kFrom), to = AsIcu(kTo);
  for (auto _ : state) {
    icu::UnicodeString s(source);
    benchmark::DoNotOptimize(s.findAndReplace(from, to));
  }
}

// ---- Mid: 20 units from the middle ----

void MidVesk(benchmark::State& state, const Units& text) {
  const CString source(text.c_str());
  const int from = static_cast<int>(text.size() / 2);
  for (auto _ : state) {
    CString part = source.Mid(from, 20);
    benchmark::DoNotOptimize(part);
  }
}
void MidU16(benchmark::State& state, const Units& text) {
  const std::u16string source = AsU16(text);
  const size_t from = text.size() / 2;
  for (auto _ : state) {
    std::u16string part = source.substr(from, 20);
    benchmark::DoNotOptimize(part);
  }
}
void MidIcu(benchmark::State& state, const Units& text) {
  const icu::UnicodeString source = AsIcu(text);
  const int32_t from = static_cast<int32_t>(text.size() / 2);
  for (auto _ : state) {
    icu::UnicodeString part(source, from, 20);
    benchmark::DoNotOptimize(part);
  }
}

struct Family {
  const char* op;
  void (*vesk)(benchmark::State&, const Units&);
  void (*u16)(benchmark::State&, const Units&);
  void (*icu)(benchmark::State&, const Units&);
};

void RegisterAll(const Family& f, const char* input, const Units& text) {
  const std::string tail = std::string("/") + input;
  Register(std::string(f.op) + "/vesk" + tail, f.vesk, text);
  Register(std::string(f.op) + "/u16string" + tail, f.u16, text);
  Register(std::string(f.op) + "/icu" + tail, f.icu, text);
}

const bool kRegistered = [] {
  const Family copy{"Copy", CopyVesk, CopyU16, CopyIcu};
  RegisterAll(copy, "short20", Letters(20));
  RegisterAll(copy, "long2000", Letters(2000));
  const Family construct{"ConstructShort", ConstructVesk, ConstructU16, ConstructIcu};
  RegisterAll(construct, "units5", Letters(5));
  RegisterAll(construct, "units20", Letters(20));
  RegisterAll(construct, "units60", Letters(60));
  const Family append{"Append8", AppendVesk, AppendU16, AppendIcu};
  RegisterAll(append, "x50", Letters(50));
  RegisterAll(append, "x200", Letters(200));
  const Units english = DataText("text/english.utf8.txt", 65536);
  const Units japanese = DataText("text/japanese.utf8.txt", 65536);
  const std::pair<const char*, const Units*> texts[] = {{"english64k", &english}, {"japanese64k", &japanese}};
  for (const auto& [name, text] : texts) {
    if (text->empty()) continue;  // its data file is missing
    RegisterAll({"Find", FindVesk, FindU16, FindIcu}, name, *text);
    RegisterAll({"Replace", ReplaceVesk, ReplaceU16, ReplaceIcu}, name, *text);
  }
  const Family mid{"Mid", MidVesk, MidU16, MidIcu};
  RegisterAll(mid, "of200", Letters(200));
  return true;
}();

}  // namespace
