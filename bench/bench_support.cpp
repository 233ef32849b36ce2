#include "bench/bench_support.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>

namespace veskbench {

std::string DataPath(const std::string& relative_path) {
  return std::string(VESK_DATA_DIR) + "/" + relative_path;
}

namespace {

double TimeUnitToNs(benchmark::TimeUnit unit) {
  switch (unit) {
    case benchmark::kNanosecond: return 1;
    case benchmark::kMicrosecond: return 1e3;
    case benchmark::kMillisecond: return 1e6;
    case benchmark::kSecond: return 1e9;
  }
  return 1;
}

}  // namespace

bool HaveData(const std::string& relative_path) {
  static std::set<std::string> reported;
  if (std::ifstream(DataPath(relative_path), std::ios::binary).good()) return true;
  if (reported.insert(relative_path).second) {
    std::fprintf(stderr, "note: data file %s is missing (looked for %s); the benchmarks reading it are left out\n",
                 relative_path.c_str(), DataPath(relative_path).c_str());
  }
  return false;
}

bool ReadDataFile(const std::string& relative_path, std::string& contents) {
  if (!HaveData(relative_path)) return false;
  std::ifstream in(DataPath(relative_path), std::ios::binary);
  if (!in) return false;
  std::ostringstream out;
  out << in.rdbuf();
  contents = out.str();
  return true;
}

std::vector<std::string> DataLines(const std::string& relative_path) {
  std::vector<std::string> lines;
  if (!HaveData(relative_path)) return lines;
  std::ifstream in(DataPath(relative_path), std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

std::string DataFile(const std::string& relative_path) {
  std::string contents;
  ReadDataFile(relative_path, contents);
  return contents;
}

std::vector<std::string> UrlCorpora() {
  std::vector<std::string> present;
  for (const char* file : {"isaacs_files.txt", "kasztp.txt", "node_files.txt", "userbait.txt"}) {
    if (HaveData(std::string("urls/") + file)) present.push_back(file);
  }
  return present;
}

void SetItems(benchmark::State& state, size_t items) {
  state.counters["items"] = benchmark::Counter(static_cast<double>(items));
}

void SetRefused(benchmark::State& state, size_t refused) {
  state.counters["refused"] = benchmark::Counter(static_cast<double>(refused));
}

void SummaryReporter::ReportRuns(const std::vector<Run>& runs) {
  benchmark::ConsoleReporter::ReportRuns(runs);
  for (const Run& run : runs) {
    if (run.error_occurred) continue;
    const bool median = run.run_type == Run::RT_Aggregate;
    if (median && run.aggregate_name != "median") continue;
    std::vector<std::string> parts;
    std::stringstream name(run.run_name.str());
    for (std::string part; std::getline(name, part, '/');) parts.push_back(part);
    if (parts.size() <= impl_part_) continue;
    const std::string impl = parts[impl_part_];
    parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(impl_part_));
    std::string key;
    for (const std::string& part : parts) key += (key.empty() ? "" : "/") + part;

    double ns = run.GetAdjustedCPUTime() * TimeUnitToNs(run.time_unit);
    const auto items = run.counters.find("items");
    double refused = 0;
    if (items != run.counters.end() && items->second.value > 0) {
      ns /= items->second.value;
      const auto count = run.counters.find("refused");
      if (count != run.counters.end()) refused = count->second.value / items->second.value;
    }

    auto& row = table_[key];
    if (row.empty()) order_.push_back(key);
    auto it = std::find_if(row.begin(), row.end(), [&](const auto& entry) { return entry.first == impl; });
    if (it == row.end()) {
      row.push_back({impl, Sample{ns, refused, median}});
    } else if (median || !it->second.median) {
      it->second = Sample{ns, refused, median};
    }
  }
}

void SummaryReporter::Finalize() {
  benchmark::ConsoleReporter::Finalize();
  if (order_.empty()) return;
  std::printf(
      "\nCPU time per item in ns (medians where repeated); ratio = vesk / fastest peer (of those refusing at "
      "most 10%% of the items), below 1 vesk leads\n");
  size_t width = 0;
  for (const std::string& key : order_) width = std::max(width, key.size());
  for (const std::string& key : order_) {
    const auto& row = table_[key];
    const Sample* ours = nullptr;
    const std::pair<std::string, Sample>* fastest = nullptr;
    std::string peers;
    for (const auto& entry : row) {
      if (entry.first == "vesk") {
        ours = &entry.second;
        continue;
      }
      char cell[128];
      std::snprintf(cell, sizeof cell, "  %s %.1f", entry.first.c_str(), entry.second.ns);
      peers += cell;
      if (entry.second.refused > 0) {
        std::snprintf(cell, sizeof cell, " (refuses %.1f%%)", 100 * entry.second.refused);
        peers += cell;
      }
      // A peer that refuses much of the input is timed on its refusals.
      if (entry.second.refused > 0.1) continue;
      if (fastest == nullptr || entry.second.ns < fastest->second.ns) fastest = &entry;
    }
    std::printf("%-*s  vesk %9.1f", static_cast<int>(width), key.c_str(), ours ? ours->ns : 0.0);
    if (ours != nullptr && ours->refused > 0) std::printf(" (refuses %.1f%%)", 100 * ours->refused);
    std::printf(" |%s", peers.c_str());
    if (ours != nullptr && fastest != nullptr && fastest->second.ns > 0) {
      std::printf("  | ratio %.2f (%s)", ours->ns / fastest->second.ns, fastest->first.c_str());
    }
    std::printf("\n");
  }
}

int RunBenchmarks(int argc, char** argv, size_t impl_part) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  SummaryReporter reporter(impl_part);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}

}  // namespace veskbench
