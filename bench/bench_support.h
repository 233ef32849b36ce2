#ifndef VESK_BENCH_BENCH_SUPPORT_H_
#define VESK_BENCH_BENCH_SUPPORT_H_

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace veskbench {

// Data files live under VESK_DATA_DIR (the repository's data/ by default). A
// file that is not there is reported once on stderr and reads as empty; a
// benchmark whose input is empty is left out, and the others run.

// Whether a file under the data folder (e.g. "urls/kasztp.txt") is there;
// when it is not, says so on stderr (once per file).
bool HaveData(const std::string& relative_path);

// The lines of a file under the data folder, without line endings and
// without empty lines; none when it is missing.
std::vector<std::string> DataLines(const std::string& relative_path);

// The whole of a file under the data folder; empty when it is missing.
std::string DataFile(const std::string& relative_path);

// Where a file under the data folder is.
std::string DataPath(const std::string& relative_path);

// The whole of a file under the data folder into `contents`; false (and a
// note on stderr) when it cannot be read.
bool ReadDataFile(const std::string& relative_path, std::string& contents);

// The corpora of urls/ that are there, by file name.
std::vector<std::string> UrlCorpora();

// Records how many items one iteration handles, so that the summary gives the
// time per item.
void SetItems(benchmark::State& state, size_t items);

// Records how many of those items the implementation refused, which the
// summary shows beside its time (a refusal often costs less than a parse).
void SetRefused(benchmark::State& state, size_t refused);

// Prints as the console reporter does and, at the end, one summary line per
// operation and input: our time ("vesk"), each peer's, and the ratio of ours
// to the fastest peer's. Names are '/'-separated; `impl_part` is the index of
// the part naming the implementation, the other parts name the operation and
// input. With repetitions the median is used.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  explicit SummaryReporter(size_t impl_part) : impl_part_(impl_part) {}
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  struct Sample {
    double ns = 0;
    double refused = 0;  // share of the items refused
    bool median = false;
  };
  size_t impl_part_;
  // Operation and input, in the order first seen, then implementation.
  std::vector<std::string> order_;
  std::map<std::string, std::vector<std::pair<std::string, Sample>>> table_;
};

// Runs every benchmark given on the command line through a SummaryReporter.
int RunBenchmarks(int argc, char** argv, size_t impl_part);

}  // namespace veskbench

#endif  // VESK_BENCH_BENCH_SUPPORT_H_
