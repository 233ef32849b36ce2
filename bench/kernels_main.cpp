// The kernel benchmarks, one binary: every bench/kernels_*.cpp registers its
// benchmarks as "<kernel>/<input>/<impl>", and the summary at the end gives,
// per kernel and input, our time per item, each peer's and the ratio of ours
// to the fastest peer's. Pin it to one core and use repetitions, e.g.
//   taskset -c 1 kernels_bench --benchmark_repetitions=21 --benchmark_report_aggregates_only=true
#include "bench/bench_support.h"

int main(int argc, char** argv) { return veskbench::RunBenchmarks(argc, argv, 2); }
