// Transcoding kernels beside ICU called directly and glibc's iconv:
// asUTF8 and asUTF16 on each article of text/, on the text lines and on
// strings of 16 UTF-16 units; EncodingToUTF16 and UTF16ToEncoding on Latin-1,
// windows-1252 and Shift_JIS texts made with ICU from the French and Japanese
// articles. Every result owns its text, as ours does, and ours must equal
// ICU's before anything is timed.
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/kernels_inputs.h"
#include "vesk/encoding/transcoder"

namespace {

using Vesk::Transcoder;
using Wide = std::basic_string<unsigned short>;

// One input in both forms: the narrow items (UTF-8 or a legacy set) and the
// same text as UTF-16.
struct TextInput {
  std::string name;
  std::vector<std::string> narrow;
  std::vector<Wide> wide;
  size_t bytes = 0;  // of the narrow items
};

Wide IcuToWide(UConverter* converter, const std::string& bytes) {
  Wide out(bytes.size() + 1, 0);
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = ucnv_toUChars(converter, reinterpret_cast<UChar*>(out.data()),
                                       static_cast<int32_t>(out.size()), bytes.data(),
                                       static_cast<int32_t>(bytes.size()), &status);
  out.resize(U_SUCCESS(status) ? static_cast<size_t>(length) : 0);
  return out;
}

std::string IcuFromWide(UConverter* converter, const Wide& text) {
  std::string out(text.size() * 3 + 8, '\0');
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length =
      ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()),
                      reinterpret_cast<const UChar*>(text.data()), static_cast<int32_t>(text.size()), &status);
  out.resize(U_SUCCESS(status) ? static_cast<size_t>(length) : 0);
  return out;
}

UConverter* Open(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(name, &status);
  if (U_FAILURE(status)) std::abort();
  return converter;
}

// Converts all of `in` with an iconv descriptor into a buffer of `capacity`
// bytes, as a caller of iconv would.
std::string IconvAll(iconv_t cd, const char* in, size_t in_bytes, size_t capacity) {
  std::string out(capacity, '\0');
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  char* source = const_cast<char*>(in);
  char* target = out.data();
  size_t target_left = capacity;
  iconv(cd, &source, &in_bytes, &target, &target_left);
  iconv(cd, nullptr, nullptr, &target, &target_left);
  out.resize(capacity - target_left);
  return out;
}

void Add(TextInput& input, std::string narrow, Wide wide) {
  input.bytes += narrow.size();
  input.narrow.push_back(std::move(narrow));
  input.wide.push_back(std::move(wide));
}

// The UTF-8 articles, each one item.
std::vector<TextInput> Articles() {
  std::vector<TextInput> articles;
  for (const char* name : {"arabic", "chinese", "english", "french", "german", "hindi", "japanese", "russian"}) {
    std::string text;
    if (!veskbench::TextFile(std::string(name) + ".utf8.txt", text)) continue;
    TextInput input;
    input.name = name;
    Add(input, text, Transcoder::asUTF16(text));
    articles.push_back(std::move(input));
  }
  return articles;
}

// The text lines, and their first 16 UTF-16 units (a pair is not cut).
void LineInputs(TextInput& lines, TextInput& short16) {
  lines.name = "text_lines";
  short16.name = "units16";
  for (const std::string& line : veskbench::TextLines().items) {
    Wide wide = Transcoder::asUTF16(line);
    Add(lines, line, wide);
    if (wide.size() < 16) continue;
    const size_t cut = (wide[15] >= 0xD800 && wide[15] < 0xDC00) ? 15 : 16;
    wide.resize(cut);
    Add(short16, Transcoder::asUTF8(wide), wide);
  }
}

// The article in a legacy set: the characters the set cannot hold are left
// out, so that both directions convert the whole text.
TextInput Legacy(const char* article, const char* label, const char* encoding) {
  TextInput input;
  input.name = std::string(article) + "-" + label;
  std::string text;
  if (!veskbench::TextFile(std::string(article) + ".utf8.txt", text)) return input;
  UConverter* converter = Open(encoding);
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_SKIP, nullptr, nullptr, nullptr, &status);
  std::string bytes = IcuFromWide(converter, Transcoder::asUTF16(text));
  ucnv_close(converter);
  converter = Open(encoding);
  Wide wide = IcuToWide(converter, bytes);
  ucnv_close(converter);
  Add(input, std::move(bytes), std::move(wide));
  return input;
}

// Registers "<kernel>/<input>/<impl>"; one iteration converts every item.
template <class PerItem>
void Register(const std::string& kernel, const TextInput& input, const std::string& impl, PerItem per_item) {
  if (input.narrow.empty()) return;
  const TextInput* in = &input;
  benchmark::RegisterBenchmark((kernel + "/" + input.name + "/" + impl).c_str(),
                               [in, per_item](benchmark::State& state) {
                                 for (auto _ : state) {
                                   for (size_t i = 0; i < in->narrow.size(); ++i) per_item(*in, i);
                                 }
                                 veskbench::SetItems(state, in->narrow.size());
                                 state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in->bytes));
                               })
      ->Unit(benchmark::kMicrosecond);
}

void Mismatch(const std::string& what, const TextInput& input, size_t item) {
  std::fprintf(stderr, "vesk and ICU differ: %s on %s item %zu\n", what.c_str(), input.name.c_str(), item);
  std::abort();
}

void RegisterUnicode(const TextInput& input) {
  UConverter* utf8 = Open("UTF-8");
  for (size_t i = 0; i < input.narrow.size(); ++i) {
    if (Transcoder::asUTF8(input.wide[i]) != IcuFromWide(utf8, input.wide[i])) Mismatch("asUTF8", input, i);
    if (Transcoder::asUTF16(input.narrow[i]) != IcuToWide(utf8, input.narrow[i])) Mismatch("asUTF16", input, i);
  }
  ucnv_close(utf8);
  Register("asUTF8", input, "vesk", [](const TextInput& in, size_t i) {
    std::string out = Transcoder::asUTF8(in.wide[i]);
    benchmark::DoNotOptimize(out.data());
  });
  Register("asUTF8", input, "icu", [](const TextInput& in, size_t i) {
    std::string out(in.wide[i].size() * 3, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length,
                reinterpret_cast<const UChar*>(in.wide[i].data()), static_cast<int32_t>(in.wide[i].size()), &status);
    out.resize(static_cast<size_t>(length));
    benchmark::DoNotOptimize(out.data());
  });
  static iconv_t to_utf8 = iconv_open("UTF-8", "UTF-16LE");
  Register("asUTF8", input, "iconv", [](const TextInput& in, size_t i) {
    std::string out = IconvAll(to_utf8, reinterpret_cast<const char*>(in.wide[i].data()), in.wide[i].size() * 2,
                               in.wide[i].size() * 3 + 4);
    benchmark::DoNotOptimize(out.data());
  });
  Register("asUTF16", input, "vesk", [](const TextInput& in, size_t i) {
    Wide out = Transcoder::asUTF16(in.narrow[i]);
    benchmark::DoNotOptimize(out.data());
  });
  Register("asUTF16", input, "icu", [](const TextInput& in, size_t i) {
    Wide out(in.narrow[i].size(), 0);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(reinterpret_cast<UChar*>(out.data()), static_cast<int32_t>(out.size()), &length,
                  in.narrow[i].data(), static_cast<int32_t>(in.narrow[i].size()), &status);
    out.resize(static_cast<size_t>(length));
    benchmark::DoNotOptimize(out.data());
  });
  static iconv_t from_utf8 = iconv_open("UTF-16LE", "UTF-8");
  Register("asUTF16", input, "iconv", [](const TextInput& in, size_t i) {
    std::string raw = IconvAll(from_utf8, in.narrow[i].data(), in.narrow[i].size(), in.narrow[i].size() * 2 + 4);
    Wide out(reinterpret_cast<const unsigned short*>(raw.data()), raw.size() / 2);
    benchmark::DoNotOptimize(out.data());
  });
}

struct LegacySet {
  const char* article;
  const char* label;
  const char* encoding;  // ours and ICU's name
  const char* iconv_name;
};

void RegisterLegacy(const TextInput& input, const LegacySet& set) {
  if (input.narrow.empty()) return;
  UConverter* check = Open(set.encoding);
  if (Transcoder::EncodingToUTF16(input.narrow[0], set.encoding) != IcuToWide(check, input.narrow[0]))
    Mismatch("EncodingToUTF16", input, 0);
  if (Transcoder::UTF16ToEncoding(input.wide[0], set.encoding) != IcuFromWide(check, input.wide[0]))
    Mismatch("UTF16ToEncoding", input, 0);
  ucnv_close(check);
  const std::string encoding = set.encoding;
  Register("EncodingToUTF16", input, "vesk", [encoding](const TextInput& in, size_t i) {
    Wide out = Transcoder::EncodingToUTF16(in.narrow[i], encoding);
    benchmark::DoNotOptimize(out.data());
  });
  UConverter* to_wide = Open(set.encoding);
  Register("EncodingToUTF16", input, "icu", [to_wide](const TextInput& in, size_t i) {
    Wide out = IcuToWide(to_wide, in.narrow[i]);
    benchmark::DoNotOptimize(out.data());
  });
  iconv_t from_set = iconv_open("UTF-16LE", set.iconv_name);
  Register("EncodingToUTF16", input, "iconv", [from_set](const TextInput& in, size_t i) {
    std::string raw = IconvAll(from_set, in.narrow[i].data(), in.narrow[i].size(), in.narrow[i].size() * 2 + 4);
    Wide out(reinterpret_cast<const unsigned short*>(raw.data()), raw.size() / 2);
    benchmark::DoNotOptimize(out.data());
  });
  Register("UTF16ToEncoding", input, "vesk", [encoding](const TextInput& in, size_t i) {
    std::string out = Transcoder::UTF16ToEncoding(in.wide[i], encoding);
    benchmark::DoNotOptimize(out.data());
  });
  UConverter* from_wide = Open(set.encoding);
  Register("UTF16ToEncoding", input, "icu", [from_wide](const TextInput& in, size_t i) {
    std::string out = IcuFromWide(from_wide, in.wide[i]);
    benchmark::DoNotOptimize(out.data());
  });
  iconv_t to_set = iconv_open(set.iconv_name, "UTF-16LE");
  Register("UTF16ToEncoding", input, "iconv", [to_set](const TextInput& in, size_t i) {
    std::string out = IconvAll(to_set, reinterpret_cast<const char*>(in.wide[i].data()), in.wide[i].size() * 2,
                               in.wide[i].size() * 2 + 8);
    benchmark::DoNotOptimize(out.data());
  });
}

const int registered = [] {
  // Inputs live as long as the benchmarks that point at them.
  static const std::vector<TextInput> articles = Articles();
  static TextInput lines, short16;
  LineInputs(lines, short16);
  for (const TextInput& article : articles) RegisterUnicode(article);
  RegisterUnicode(lines);
  RegisterUnicode(short16);
  static const LegacySet sets[] = {{"french", "latin1", "iso-8859-1", "ISO-8859-1"},
                                   {"french", "cp1252", "windows-1252", "WINDOWS-1252"},
                                   {"japanese", "sjis", "shift_jis", "SHIFT_JIS"}};
  static std::vector<TextInput> legacy;
  legacy.reserve(3);
  for (const LegacySet& set : sets) legacy.push_back(Legacy(set.article, set.label, set.encoding));
  for (size_t i = 0; i < legacy.size(); ++i) RegisterLegacy(legacy[i], sets[i]);
  return 0;
}();

}  // namespace
