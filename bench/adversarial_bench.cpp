// Every text entry point fed its worst input at 1, 4 and 16 MiB, reporting
// the CPU time per MiB in milliseconds (the "ms/MiB" column, which the
// console prints with a trailing "s"), so that anything above linear growth
// shows as a rising figure. Inputs: periodic texts against nearly matching sought texts
// (a naive search's worst case), long runs of separators, escapes and dot
// segments, and parts past the count.
//
// Growth that is part of the definitions is measured at smaller sizes (64,
// 256 and 1024 KiB), with inputs named "..._quadratic": appending one unit at
// a time (a buffer grows to the exact size), and the GetPart scans with a
// CString separator whose length grows with the text.
#include <malloc.h>

#include <climits>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/bench_support.h"
#include "vesk/encoding/transcoder"
#include "vesk/string/cstring"
#include "vesk/uri/uri"

namespace {

using Units = std::basic_string<unsigned short>;
using Vesk::Transcoder;
using Vesk::URI;

constexpr size_t kMiB = 1 << 20;

// `n` bytes of `pattern` repeated, with `tail` in place of the last bytes.
std::string Repeat(const std::string& pattern, size_t n, const std::string& tail = "") {
  std::string s;
  s.reserve(n);
  while (s.size() + pattern.size() + tail.size() <= n) s += pattern;
  return s + tail;
}

Units Wide(const std::string& ascii) { return Units(ascii.begin(), ascii.end()); }
CString Make(const std::string& ascii) {
  const Units w = Wide(ascii);
  return CString(w.data(), static_cast<int>(w.size()));
}

// Registers `name` at each size; `make(bytes)` builds the input outside the
// timing, `run(input)` is the operation, which sees a fresh copy when it edits.
template <typename Input>
void Add(const std::string& name, std::function<Input(size_t)> make, std::function<void(const Input&)> run,
         const std::vector<size_t>& sizes = {kMiB, 4 * kMiB, 16 * kMiB}) {
  for (size_t bytes : sizes) {
    // "<operation>/vesk/<input>@<size>", the form the shared main summarises.
    const size_t slash = name.find('/');
    const std::string label = name.substr(0, slash) + "/vesk/" + name.substr(slash + 1) + "@" +
                              std::to_string(bytes >> 10) + "KiB";
    benchmark::RegisterBenchmark(label.c_str(),
                                 [make, run, bytes](benchmark::State& state) {
                                   const Input input = make(bytes);
                                   // One untimed run first, so that the heap
                                   // holds the memory the timed runs reuse.
                                   run(input);
                                   for (auto _ : state) run(input);
                                   state.counters["ms/MiB"] =
                                       benchmark::Counter(static_cast<double>(bytes) / kMiB / 1000,
                                                          benchmark::Counter::kIsIterationInvariantRate |
                                                              benchmark::Counter::kInvert);
                                 })
        ->Unit(benchmark::kMillisecond)
        ->MinTime(0.2);
  }
}

// A CString text of `bytes / 2` units and a sought text, for the searches.
struct Search {
  CString text;
  Units sought;
};

// "aaa...a" against "aaa...ab" of `length` units: every window nearly matches.
Search Periodic(size_t bytes, size_t length) {
  return {Make(Repeat("a", bytes / 2)), Wide(std::string(length - 1, 'a') + "b")};
}

void RegisterStrings() {
  const auto near_match = [](size_t bytes) { return Periodic(bytes, bytes / 2 / 1024); };
  const auto fixed_1001 = [](size_t bytes) { return Periodic(bytes, 1001); };
  for (const auto& [kind, make] : std::map<std::string, std::function<Search(size_t)>>{
           {"sought_n_over_1024", near_match}, {"sought_1001", fixed_1001}}) {
    Add<Search>("CString::Find/" + kind, make,
                [](const Search& s) { benchmark::DoNotOptimize(s.text.Find(s.sought.c_str())); });
    Add<Search>("_mbsstr/" + kind, make,
                [](const Search& s) { benchmark::DoNotOptimize(_mbsstr(s.text, s.sought.c_str())); });
    Add<Search>("CString::Replace/" + kind, make, [](const Search& s) {
      CString copy(s.text);
      benchmark::DoNotOptimize(copy.Replace(s.sought.c_str(), s.sought.c_str()));
    });
  }
  Add<CString>(
      "CString::Replace/every_unit_grows", [](size_t bytes) { return Make(Repeat("ab", bytes / 2)); },
      [](const CString& s) {
        CString copy(s);
        const Units from = Wide("a"), to = Wide("xyz");
        benchmark::DoNotOptimize(copy.Replace(from.c_str(), to.c_str()));
      });
  Add<CString>(
      "CString::GetPartRange/char_past_count", [](size_t bytes) { return Make(Repeat("a,", bytes / 4)); },
      [](const CString& s) { benchmark::DoNotOptimize(s.GetPartRange(',', 1, s.GetLength())); });
  Add<CString>(
      "CString::GetPartRange/char_all_parts", [](size_t bytes) { return Make(Repeat("a,", bytes / 2)); },
      [](const CString& s) { benchmark::DoNotOptimize(s.GetPartRange(',', 1, s.GetPartCount(',') - 1)); });
  Add<CString>(
      "CString::GetPartCount/CString_separator_64", [](size_t bytes) { return Make(Repeat("a", bytes / 2)); },
      [](const CString& s) { benchmark::DoNotOptimize(s.GetPartCount(Make(std::string(63, 'a') + "b"))); });
  Add<CString>(
      "CString::Tokenize/delimiter_runs", [](size_t bytes) { return Make(Repeat(", a", bytes / 2)); },
      [](const CString& s) {
        const Units set = Wide(", ");
        int start = 0;
        while (start != -1) benchmark::DoNotOptimize(s.Tokenize(set.c_str(), start));
      });
  Add<CString>(
      "CString::TrimRight/space_runs", [](size_t bytes) { return Make(Repeat("  a", bytes / 2, "   ")); },
      [](const CString& s) {
        CString copy(s);
        benchmark::DoNotOptimize(copy.TrimRight());
      });
  Add<CString>(
      "CString::SpanIncluding/long_run", [](size_t bytes) { return Make(Repeat("ab", bytes / 2)); },
      [](const CString& s) { benchmark::DoNotOptimize(s.SpanIncluding(Wide("ab").c_str())); });
  Add<CString>(
      "CString::ReverseFind/long_text", [](size_t bytes) { return Make(Repeat("ab", bytes / 2)); },
      [](const CString& s) { benchmark::DoNotOptimize(s.ReverseFind('c')); });
  Add<CString>(
      "CString::GetIntValue/long_digits", [](size_t bytes) { return Make(Repeat("9", bytes / 2)); },
      [](const CString& s) {
        CString copy(s);
        copy.SetAt(0, '9');  // an unshared buffer, so that no cached platform string serves
        benchmark::DoNotOptimize(copy.GetIntValue());
      });

  // Growth the definitions require, at smaller sizes.
  const std::vector<size_t> small = {64 << 10, 256 << 10, 1024 << 10};
  Add<size_t>(
      "CString::operator+=(unit)/one_unit_appends_quadratic", [](size_t bytes) { return bytes / 2; },
      [](const size_t& units) {
        CString s;
        for (size_t i = 0; i < units; ++i) s += static_cast<unsigned short>('a');
        benchmark::DoNotOptimize(s);
      },
      small);
  Add<Search>(
      "CString::GetPart/CString_separator_n_over_1024_quadratic",
      [](size_t bytes) { return Periodic(bytes, bytes / 2 / 1024); },
      [](const Search& s) { benchmark::DoNotOptimize(s.text.GetPart(CString(s.sought.c_str()), 1)); }, small);
}

void RegisterUri() {
  Add<std::string>(
      "URI::ParseURI/long_path", [](size_t bytes) { return "http://user@host:80/" + Repeat("a/", bytes - 40) + "?q#f"; },
      [](const std::string& text) { benchmark::DoNotOptimize(URI(text).IsValidURI()); });
  Add<std::string>(
      "URI::ParseURI/delimiters", [](size_t bytes) { return Repeat("#?", bytes); },
      [](const std::string& text) { benchmark::DoNotOptimize(URI(text).IsValidURI()); });
  Add<std::string>(
      "URI::Unescape/percent_41", [](size_t bytes) { return Repeat("%41", bytes); },
      [](const std::string& text) { benchmark::DoNotOptimize(URI::Unescape(text, false)); });
  Add<std::string>(
      "URI::Unescape/broken_escapes", [](size_t bytes) { return Repeat("%%4%z", bytes, "%"); },
      [](const std::string& text) { benchmark::DoNotOptimize(URI::Unescape(text, false)); });
  Add<std::string>(
      "URI::Escape/every_byte_grows", [](size_t bytes) { return Repeat(" ", bytes); },
      [](const std::string& text) { benchmark::DoNotOptimize(URI::Escape(text)); });
  Add<std::string>(
      "URI::ChDir/dot_dot_segments", [](size_t bytes) { return Repeat("../", bytes); },
      [](const std::string& reference) {
        URI uri("http://h/a/b/c/");
        benchmark::DoNotOptimize(uri.ChDir(reference, false));
      });
  Add<std::string>(
      "URI::ChDir/deep_base", [](size_t bytes) { return "http://h/" + Repeat("a/./", bytes); },
      [](const std::string& base) {
        URI uri(base);
        benchmark::DoNotOptimize(uri.ChDir("../x", false));
      });
  Add<std::string>(
      "URI::MakeRelativeURI/deep_paths", [](size_t bytes) { return "http://h/" + Repeat("a/", bytes / 2); },
      [](const std::string& text) {
        URI uri(text + "x");
        benchmark::DoNotOptimize(uri.MakeRelativeURI(URI(text + "y/z"), true));
      });
  Add<std::string>(
      "URI::GetCommonParentByString/deep_paths", [](size_t bytes) { return "http://h/" + Repeat("a/", bytes / 2); },
      [](const std::string& text) {
        benchmark::DoNotOptimize(URI::GetCommonParentByString(text + "b/c", "http://h/a/x", true));
      });
  Add<std::string>(
      "URI::GetQueryByMap/many_pairs", [](size_t bytes) { return "http://h/?" + Repeat("a=1&", bytes); },
      [](const std::string& text) {
        std::map<std::string, std::string> query;
        URI(text).GetQueryByMap(query);
        benchmark::DoNotOptimize(query);
      });
  Add<std::string>(
      "URI::SetQueryValue/many_pairs", [](size_t bytes) { return "http://h/?" + Repeat("a=1&", bytes); },
      [](const std::string& text) {
        URI uri(text);
        uri.SetQueryValue("b", "2");
        benchmark::DoNotOptimize(uri);
      });
  Add<std::string>(
      "URI::UnknownToURI/long_text", [](size_t bytes) { return Repeat("a.b ", bytes); },
      [](const std::string& text) {
        URI uri;
        benchmark::DoNotOptimize(uri.UnknownToURI(text, "http"));
      });
  Add<std::string>(
      "URI::LocalPathToURIWin/deep_path", [](size_t bytes) { return "C:\\" + Repeat("a\\", bytes); },
      [](const std::string& path) {
        URI uri;
        uri.LocalPathToURIWin(path);
        benchmark::DoNotOptimize(uri.ToLocalPathWin());
      });
  Add<std::string>(
      "URI::LocalPathToURIMac/deep_path", [](size_t bytes) { return "Root:" + Repeat("a:", bytes); },
      [](const std::string& path) {
        URI uri;
        uri.LocalPathToURIMac(path);
        benchmark::DoNotOptimize(uri.ToLocalPathMac());
      });
  Add<std::string>(
      "URI::ForceEscape/raw_bytes", [](size_t bytes) { return "http://h/" + Repeat("a b%", bytes); },
      [](const std::string& text) {
        URI uri(text);
        uri.ForceEscape();
        benchmark::DoNotOptimize(uri);
      });
  Add<std::string>(
      "URI::FromEncodedString/shift_jis_escapes", [](size_t bytes) { return "http://h/" + Repeat("%82%A0", bytes); },
      [](const std::string& text) {
        URI uri;
        benchmark::DoNotOptimize(uri.FromEncodedString(text, "shift_jis"));
      });
  Add<std::string>(
      "URI::GetFilename/deep_path", [](size_t bytes) { return "http://h/" + Repeat("a/", bytes, "b.c"); },
      [](const std::string& text) {
        const URI uri(text);
        benchmark::DoNotOptimize(uri.GetFilename(true));
        benchmark::DoNotOptimize(uri.IsUnderDirectory("x"));
      });
  Add<std::string>(
      "URI::SplitPath/slashes", [](size_t bytes) { return Repeat("a//", bytes); },
      [](const std::string& path) {
        std::vector<std::string> segments;
        URI::SplitPath(path, segments);
        benchmark::DoNotOptimize(segments);
      });
}

void RegisterTranscoder() {
  Add<std::string>(
      "Transcoder::asUTF16/mixed_utf8", [](size_t bytes) { return Repeat("a\xC3\xA9\xE3\x81\x82\xF0\x9F\x98\x80", bytes); },
      [](const std::string& text) { benchmark::DoNotOptimize(Transcoder::asUTF16(text)); });
  Add<Units>(
      "Transcoder::asUTF8/lone_surrogates",
      [](size_t bytes) { return Units(bytes / 2, static_cast<unsigned short>(0xD800)); },
      [](const Units& text) { benchmark::DoNotOptimize(Transcoder::asUTF8(text)); });
  Add<std::string>(
      "Transcoder::EncodingToUTF16/iso_2022_jp_shifts", [](size_t bytes) { return Repeat("\x1b$B$\"\x1b(Ba", bytes); },
      [](const std::string& text) { benchmark::DoNotOptimize(Transcoder::EncodingToUTF16(text, "iso-2022-jp")); });
  Add<Units>(
      "Transcoder::UTF16ToEncoding/unmappable_at_end",
      [](size_t bytes) { return Units(bytes / 2 - 1, 'a') + static_cast<unsigned short>(0x3042); },
      [](const Units& text) { benchmark::DoNotOptimize(Transcoder::UTF16ToEncoding(text, "iso-8859-1")); });
  Add<std::string>(
      "Transcoder::filesytemToUTF16/high_bytes", [](size_t bytes) { return Repeat("\xE9", bytes); },
      [](const std::string& text) { benchmark::DoNotOptimize(Transcoder::filesytemToUTF16(text)); });
}

// Blocks of any size come from the heap and stay there when freed: with the
// allocator's defaults a block past its mmap threshold (at most 32 MiB) is
// mapped anew and faulted in page by page on every run, which shows as growth
// at 4 and 16 MiB that no algorithm of ours causes.
bool KeepLargeBlocksInHeap() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  return true;
}

const bool kRegistered =
    (KeepLargeBlocksInHeap(), RegisterStrings(), RegisterUri(), RegisterTranscoder(), true);

}  // namespace
