#ifndef VESK_BENCH_KERNELS_INPUTS_H_
#define VESK_BENCH_KERNELS_INPUTS_H_

// The inputs of the kernel benchmarks, built at run time from the data
// folder, and the registration of one benchmark per kernel, input and
// implementation, named "<kernel>/<input>/<impl>" (impl "vesk" for ours).
// A missing data file is reported on stderr and the inputs built from it
// are left out or made from the files that are there.

#include <string>
#include <type_traits>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/bench_support.h"

namespace veskbench {

struct Input {
  std::string name;
  std::vector<std::string> items;
  size_t bytes = 0;
};

// The four URL lists of urls/, one input per list named after the file.
const std::vector<Input>& UrlLists();

// "url_paths": what follows the host of every http(s) URL of the lists,
// leaving out the empty ones and the bare "/".
const Input& UrlPaths();

// "text_lines": every line of text/*.utf8.txt cut to at most 120 bytes on a
// character boundary, those of at least 8 bytes.
const Input& TextLines();

// "escaped_lines": the text lines with every byte outside A-Z a-z 0-9 - . _ ~
// written as %XX (upper-case digits).
const Input& EscapedTextLines();

// The whole of text/<name>, or false with a note on stderr.
bool TextFile(const std::string& name, std::string& contents);

// Registers "<kernel>/<input>/<impl>": one iteration calls `per_item` on
// every item of the input. An empty input registers nothing. When
// `per_item` returns a bool, false means the implementation refused the
// item; how many it refused is reported beside its time.
template <class PerItem>
void RegisterPerItem(const std::string& kernel, const Input& input, const std::string& impl,
                     PerItem per_item) {
  if (input.items.empty()) return;
  const Input* in = &input;
  benchmark::RegisterBenchmark(
      (kernel + "/" + input.name + "/" + impl).c_str(),
      [in, per_item](benchmark::State& state) {
        for (auto _ : state) {
          for (const std::string& item : in->items) per_item(item);
        }
        SetItems(state, in->items.size());
        if constexpr (std::is_same_v<decltype(per_item(in->items[0])), bool>) {
          size_t refused = 0;
          for (const std::string& item : in->items) refused += !per_item(item);
          SetRefused(state, refused);
        }
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in->bytes));
      })
      ->Unit(benchmark::kMicrosecond);
}

}  // namespace veskbench

#endif  // VESK_BENCH_KERNELS_INPUTS_H_
