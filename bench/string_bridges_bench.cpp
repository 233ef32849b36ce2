// CString's crossings beside ICU called directly: 8-bit text in (the
// application's encoding, UTF-8 here), 8-bit text out, and the platform
// string of a text, fresh and cached.
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include "bench/bench_support.h"
#include "vesk/platform/cfstring"
#include "vesk/platform/locale_facts"
#include "vesk/string/cstring"

namespace {

namespace P = Vesk::Platform;

struct Input {
  const char* name;
  std::string utf8;
};

const std::vector<Input>& Inputs() {
  static const std::vector<Input> inputs = [] {
    P::SetHostLocale("C");  // the application's encoding is UTF-8
    std::string latin;
    while (latin.size() < 1024)
      latin +=
          "caf\xC3\xA9 cr\xC3\xA8me br\xC3\xBBl\xC3\xA9"
          "e ";
    return std::vector<Input>{{"ascii16", "sixteen bytes!!!"}, {"latin1k", latin.substr(0, 1024)}};
  }();
  return inputs;
}

void BM_NarrowIn_Vesk(benchmark::State& state, const std::string* text) {
  for (auto _ : state) {
    CString s(text->c_str());
    benchmark::DoNotOptimize(s.GetLength());
  }
}

void BM_NarrowIn_Icu(benchmark::State& state, const std::string* text) {
  for (auto _ : state) {
    std::u16string out(text->size(), u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(reinterpret_cast<UChar*>(&out[0]), static_cast<int32_t>(out.size()), &length, text->data(),
                  static_cast<int32_t>(text->size()), &status);
    out.resize(static_cast<size_t>(length));
    benchmark::DoNotOptimize(out.data());
  }
}

void BM_NarrowOut_Vesk(benchmark::State& state, const std::string* text) {
  const CString s(text->c_str());
  std::vector<char> out(text->size() + 1);
  for (auto _ : state) {
    CFStringRef r = s.GetCFStringRef(0);
    benchmark::DoNotOptimize(
        CFStringGetLPSTR(r, out.data(), static_cast<long>(out.size()), static_cast<unsigned long>(-1)));
    s.ReleaseCFStringRef(r);
  }
}

void BM_NarrowOut_Icu(benchmark::State& state, const std::string* text) {
  const icu::UnicodeString s = icu::UnicodeString::fromUTF8(*text);
  std::vector<char> out(text->size() + 1);
  for (auto _ : state) {
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length, s.getBuffer(), s.length(), &status);
    benchmark::DoNotOptimize(length);
  }
}

// A platform string made anew each time (the text was just written) against
// an ICU string copied from the same units.
void BM_PlatformString_Vesk(benchmark::State& state, const std::string* text) {
  CString s(text->c_str());
  for (auto _ : state) {
    s.SetAt(0, s.GetAsUniCharStr()[0]);  // a write: drops the cache
    CFStringRef r = s.GetCFStringRef(0);
    benchmark::DoNotOptimize(r);
    s.ReleaseCFStringRef(r);
  }
}

void BM_PlatformString_Icu(benchmark::State& state, const std::string* text) {
  const CString s(text->c_str());
  for (auto _ : state) {
    icu::UnicodeString u(reinterpret_cast<const UChar*>(s.GetAsUniCharStr()), s.GetLength());
    benchmark::DoNotOptimize(u.getBuffer());
  }
}

// Cached: a second crossing costs a retain, against ICU's cheapest shared copy.
void BM_CachedPlatformString_Vesk(benchmark::State& state, const std::string* text) {
  const CString s(text->c_str());
  for (auto _ : state) {
    CFStringRef r = s.GetCFStringRef(0);
    benchmark::DoNotOptimize(r);
    s.ReleaseCFStringRef(r);
  }
}

void BM_CachedPlatformString_Icu(benchmark::State& state, const std::string* text) {
  const icu::UnicodeString s = icu::UnicodeString::fromUTF8(*text);
  for (auto _ : state) {
    icu::UnicodeString copy(s);
    benchmark::DoNotOptimize(copy.getBuffer());
  }
}

const bool registered = [] {
  for (const Input& input : Inputs()) {
    const std::string* text = &input.utf8;
    const std::string in = input.name;
    benchmark::RegisterBenchmark(("NarrowIn/vesk/" + in).c_str(), BM_NarrowIn_Vesk, text);
    benchmark::RegisterBenchmark(("NarrowIn/icu/" + in).c_str(), BM_NarrowIn_Icu, text);
    benchmark::RegisterBenchmark(("NarrowOut/vesk/" + in).c_str(), BM_NarrowOut_Vesk, text);
    benchmark::RegisterBenchmark(("NarrowOut/icu/" + in).c_str(), BM_NarrowOut_Icu, text);
    benchmark::RegisterBenchmark(("PlatformString/vesk/" + in).c_str(), BM_PlatformString_Vesk, text);
    benchmark::RegisterBenchmark(("PlatformString/icu/" + in).c_str(), BM_PlatformString_Icu, text);
    benchmark::RegisterBenchmark(("CachedPlatformString/vesk/" + in).c_str(), BM_CachedPlatformString_Vesk,
                                 text);
    benchmark::RegisterBenchmark(("CachedPlatformString/icu/" + in).c_str(), BM_CachedPlatformString_Icu,
                                 text);
  }
  return true;
}();

}  // namespace
