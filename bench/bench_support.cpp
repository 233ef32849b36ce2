#include "bench/bench_support.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

namespace veskbench {
namespace {

std::string DataPath(const std::string& relative_path) {
  return std::string(VESK_DATA_DIR) + "/" + relative_path;
}

struct Sample {
  double ns_per_iteration = 0;
  bool present = false;
};

// (operation, input) -> library -> time per iteration.
using Table = std::map<std::pair<std::string, std::string>, std::map<std::string, Sample>>;

// Prints as the console reporter does, and keeps each run's time for the
// ratio table printed at the end.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    benchmark::ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      std::vector<std::string> parts;
      std::stringstream name(run.benchmark_name());
      std::string part;
      while (std::getline(name, part, '/')) parts.push_back(part);
      if (parts.size() < 3) continue;
      Sample& s = table_[{parts[0], parts[2]}][parts[1]];
      s.ns_per_iteration = run.GetAdjustedRealTime() * TimeUnitToNs(run.time_unit);
      s.present = true;
    }
  }

  void Finalize() override {
    benchmark::ConsoleReporter::Finalize();
    if (table_.empty()) return;
    std::printf("\n%-26s %-26s %-10s %12s %12s %8s\n", "operation", "input", "peer", "vesk ns", "peer ns",
                "ratio");
    for (const auto& [key, libs] : table_) {
      auto ours = libs.find("vesk");
      if (ours == libs.end()) continue;
      for (const auto& [lib, sample] : libs) {
        if (lib == "vesk" || !sample.present || sample.ns_per_iteration <= 0) continue;
        std::printf("%-26s %-26s %-10s %12.1f %12.1f %8.2f\n", key.first.c_str(), key.second.c_str(),
                    lib.c_str(), ours->second.ns_per_iteration, sample.ns_per_iteration,
                    ours->second.ns_per_iteration / sample.ns_per_iteration);
      }
    }
    std::printf("(ratio = vesk time / peer time; below 1 means vesk is faster)\n");
  }

 private:
  static double TimeUnitToNs(benchmark::TimeUnit unit) {
    switch (unit) {
      case benchmark::kNanosecond: return 1;
      case benchmark::kMicrosecond: return 1e3;
      case benchmark::kMillisecond: return 1e6;
      case benchmark::kSecond: return 1e9;
    }
    return 1;
  }
  Table table_;
};

}  // namespace

std::vector<std::string> DataLines(const std::string& relative_path) {
  std::ifstream in(DataPath(relative_path), std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "missing data file %s\n", DataPath(relative_path).c_str());
    std::abort();
  }
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

std::string DataFile(const std::string& relative_path) {
  std::ifstream in(DataPath(relative_path), std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "missing data file %s\n", DataPath(relative_path).c_str());
    std::abort();
  }
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

std::vector<std::string> UrlCorpora() {
  return {"isaacs_files.txt", "kasztp.txt", "node_files.txt", "userbait.txt"};
}

}  // namespace veskbench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  veskbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
