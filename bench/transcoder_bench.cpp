// The transcoder beside ICU called directly and glibc's iconv, on ASCII, Latin
// and Japanese texts of 16 bytes, 1 KiB and 1 MiB.
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "vesk/encoding/transcoder"

namespace {

using Vesk::Transcoder;
using Wide = std::basic_string<unsigned short>;

struct Input {
  std::string name;  // e.g. "japanese1k"
  std::string utf8;
  Wide utf16;
};

// Decodes one UTF-8 character at `i` (the files are valid UTF-8).
size_t CharLength(unsigned char lead) { return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4; }

// Keeps the characters `keep` accepts.
template <typename Keep>
std::string Filter(const std::string& utf8, Keep keep) {
  std::string out;
  for (size_t i = 0; i < utf8.size();) {
    const size_t n = CharLength(static_cast<unsigned char>(utf8[i]));
    if (i + n > utf8.size()) break;
    const std::string ch = utf8.substr(i, n);
    if (keep(ch)) out += ch;
    i += n;
  }
  return out;
}

// The text repeated and cut at a character boundary to at most `size` bytes.
std::string Cut(const std::string& text, size_t size) {
  std::string grown = text;
  while (grown.size() < size) grown += text;
  size_t end = 0;
  while (end < grown.size()) {
    const size_t n = CharLength(static_cast<unsigned char>(grown[end]));
    if (end + n > size) break;
    end += n;
  }
  return grown.substr(0, end);
}

// Whether a character converts to the set without substitution.
bool Fits(UConverter* converter, const std::string& ch) {
  UChar units[4];
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(units, 4, &length, ch.data(), static_cast<int32_t>(ch.size()), &status);
  if (U_FAILURE(status)) return false;
  char out[16];
  status = U_ZERO_ERROR;
  // A character that ICU skips (a direction mark) does not count as fitting.
  const int32_t written = ucnv_fromUChars(converter, out, sizeof out, units, length, &status);
  return U_SUCCESS(status) && written > 0;
}

UConverter* StoppingConverter(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(name, &status);
  ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  if (U_FAILURE(status)) std::abort();
  return converter;
}

// None when the text is empty (its data file is missing).
std::vector<Input> MakeInputs(const std::string& kind, const std::string& text) {
  std::vector<Input> inputs;
  if (text.empty()) return inputs;
  const std::pair<const char*, size_t> sizes[] = {{"16", 16}, {"1k", 1024}, {"1m", 1024 * 1024}};
  for (const auto& [label, size] : sizes) {
    Input input;
    input.name = kind + label;
    input.utf8 = Cut(text, size);
    input.utf16 = Transcoder::asUTF16(input.utf8);
    inputs.push_back(input);
  }
  return inputs;
}

// ASCII, Latin-1 and Shift_JIS texts, each of the three sizes.
struct Corpus {
  std::vector<Input> ascii, latin, japanese;
  Corpus() {
    const std::string english = veskbench::DataFile("text/english.utf8.txt");
    ascii = MakeInputs("ascii", Filter(english, [](const std::string& ch) { return ch.size() == 1; }));
    UConverter* latin1 = StoppingConverter("ISO-8859-1");
    latin = MakeInputs("latin", Filter(veskbench::DataFile("text/french.utf8.txt"),
                                       [&](const std::string& ch) { return Fits(latin1, ch); }));
    ucnv_close(latin1);
    UConverter* sjis = StoppingConverter("Shift_JIS");
    japanese = MakeInputs("japanese", Filter(veskbench::DataFile("text/japanese.utf8.txt"),
                                             [&](const std::string& ch) { return Fits(sjis, ch); }));
    ucnv_close(sjis);
  }
};

const Corpus& TheCorpus() {
  static const Corpus corpus;
  return corpus;
}

// --- UTF-8 to UTF-16

void VeskAsUTF16(benchmark::State& state, const Input* input) {
  for (auto _ : state) {
    Wide out = Transcoder::asUTF16(input->utf8);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
}

void IcuAsUTF16(benchmark::State& state, const Input* input) {
  for (auto _ : state) {
    Wide out(input->utf8.size(), 0);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(reinterpret_cast<UChar*>(out.data()), static_cast<int32_t>(out.size()), &length,
                  input->utf8.data(), static_cast<int32_t>(input->utf8.size()), &status);
    out.resize(static_cast<size_t>(length));
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
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

void IconvAsUTF16(benchmark::State& state, const Input* input) {
  iconv_t cd = iconv_open("UTF-16LE", "UTF-8");
  for (auto _ : state) {
    std::string raw = IconvAll(cd, input->utf8.data(), input->utf8.size(), input->utf8.size() * 2 + 4);
    Wide out(reinterpret_cast<const unsigned short*>(raw.data()), raw.size() / 2);
    benchmark::DoNotOptimize(out);
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
}

// --- UTF-16 to UTF-8

void VeskAsUTF8(benchmark::State& state, const Input* input) {
  for (auto _ : state) {
    std::string out = Transcoder::asUTF8(input->utf16);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
}

void IcuAsUTF8(benchmark::State& state, const Input* input) {
  for (auto _ : state) {
    std::string out(input->utf16.size() * 3, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length,
                reinterpret_cast<const UChar*>(input->utf16.data()), static_cast<int32_t>(input->utf16.size()),
                &status);
    out.resize(static_cast<size_t>(length));
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
}

void IconvAsUTF8(benchmark::State& state, const Input* input) {
  iconv_t cd = iconv_open("UTF-8", "UTF-16LE");
  for (auto _ : state) {
    std::string out = IconvAll(cd, reinterpret_cast<const char*>(input->utf16.data()), input->utf16.size() * 2,
                               input->utf16.size() * 3 + 4);
    benchmark::DoNotOptimize(out);
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
}

// --- UTF-8 to a legacy set

void VeskToEncoding(benchmark::State& state, const Input* input, const char* encoding) {
  for (auto _ : state) {
    std::string out = Transcoder::UTF8ToEncoding(input->utf8, encoding);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
}

// UTF-8 to UTF-16 with u_strFromUTF8, then ucnv_fromUChars on a converter
// opened once.
void IcuToEncoding(benchmark::State& state, const Input* input, const char* encoding) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(encoding, &status);
  for (auto _ : state) {
    std::basic_string<UChar> wide(input->utf8.size(), 0);
    int32_t length = 0;
    status = U_ZERO_ERROR;
    u_strFromUTF8(wide.data(), static_cast<int32_t>(wide.size()), &length, input->utf8.data(),
                  static_cast<int32_t>(input->utf8.size()), &status);
    std::string out(static_cast<size_t>(length) * 2, '\0');
    status = U_ZERO_ERROR;
    const int32_t written =
        ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()), wide.data(), length, &status);
    out.resize(static_cast<size_t>(written));
    benchmark::DoNotOptimize(out);
  }
  ucnv_close(converter);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
}

void IconvToEncoding(benchmark::State& state, const Input* input, const char* encoding) {
  iconv_t cd = iconv_open(encoding, "UTF-8");
  for (auto _ : state) {
    std::string out = IconvAll(cd, input->utf8.data(), input->utf8.size(), input->utf8.size() * 2 + 8);
    benchmark::DoNotOptimize(out);
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input->utf8.size()));
}

// Our results must match ICU's before anything is timed. (glibc's tables for
// Shift_JIS differ from ICU's in a few characters, so iconv is only timed.)
void CheckAgreement(const Input& input, const char* encoding) {
  const std::string vesk = Transcoder::UTF8ToEncoding(input.utf8, encoding);
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(encoding, &status);
  std::string peer(input.utf16.size() * 2 + 8, '\0');
  const int32_t written = ucnv_fromUChars(converter, peer.data(), static_cast<int32_t>(peer.size()),
                                          reinterpret_cast<const UChar*>(input.utf16.data()),
                                          static_cast<int32_t>(input.utf16.size()), &status);
  ucnv_close(converter);
  peer.resize(static_cast<size_t>(written));
  if (vesk != peer) {
    std::fprintf(stderr, "vesk and ICU differ on %s to %s\n", input.name.c_str(), encoding);
    std::abort();
  }
  if (Transcoder::asUTF8(Transcoder::asUTF16(input.utf8)) != input.utf8) {
    std::fprintf(stderr, "round trip differs on %s\n", input.name.c_str());
    std::abort();
  }
}

void Register() {
  const Corpus& corpus = TheCorpus();
  for (const std::vector<Input>* group : {&corpus.ascii, &corpus.latin, &corpus.japanese}) {
    for (const Input& input : *group) {
      const Input* in = &input;
      benchmark::RegisterBenchmark(("asUTF16/vesk/" + input.name).c_str(), VeskAsUTF16, in);
      benchmark::RegisterBenchmark(("asUTF16/icu/" + input.name).c_str(), IcuAsUTF16, in);
      benchmark::RegisterBenchmark(("asUTF16/iconv/" + input.name).c_str(), IconvAsUTF16, in);
      benchmark::RegisterBenchmark(("asUTF8/vesk/" + input.name).c_str(), VeskAsUTF8, in);
      benchmark::RegisterBenchmark(("asUTF8/icu/" + input.name).c_str(), IcuAsUTF8, in);
      benchmark::RegisterBenchmark(("asUTF8/iconv/" + input.name).c_str(), IconvAsUTF8, in);
    }
  }
  struct Target {
    const std::vector<Input>* inputs;
    const char* encoding;
    const char* iconv_name;
    const char* suffix;
  };
  const Target targets[] = {{&corpus.japanese, "shift_jis", "SHIFT_JIS", "-sjis"},
                            {&corpus.ascii, "shift_jis", "SHIFT_JIS", "-sjis"},
                            {&corpus.latin, "iso-8859-1", "ISO-8859-1", "-latin1"},
                            {&corpus.ascii, "iso-8859-1", "ISO-8859-1", "-latin1"}};
  for (const Target& target : targets) {
    for (const Input& input : *target.inputs) {
      CheckAgreement(input, target.encoding);
      const Input* in = &input;
      const std::string name = input.name + target.suffix;
      benchmark::RegisterBenchmark(("UTF8ToEncoding/vesk/" + name).c_str(), VeskToEncoding, in, target.encoding);
      benchmark::RegisterBenchmark(("UTF8ToEncoding/icu/" + name).c_str(), IcuToEncoding, in, target.encoding);
      benchmark::RegisterBenchmark(("UTF8ToEncoding/iconv/" + name).c_str(), IconvToEncoding, in,
                                   target.iconv_name);
    }
  }
}

const int registered = (Register(), 0);

}  // namespace
