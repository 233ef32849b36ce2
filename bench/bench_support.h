#ifndef VESK_BENCH_BENCH_SUPPORT_H_
#define VESK_BENCH_BENCH_SUPPORT_H_

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace veskbench {

// The lines of a file under the shared data folder (e.g. "urls/kasztp.txt"),
// without line endings and without empty lines. Aborts when it is missing.
std::vector<std::string> DataLines(const std::string& relative_path);

// The whole of a file under the shared data folder.
std::string DataFile(const std::string& relative_path);

// The corpora of urls/, by file name.
std::vector<std::string> UrlCorpora();

// Benchmarks are named "<operation>/<library>/<input>" (library "vesk" for
// ours). The shared main() runs them all and then prints, for every operation
// and input, the ratio of our time to each peer's.

}  // namespace veskbench

#endif  // VESK_BENCH_BENCH_SUPPORT_H_
