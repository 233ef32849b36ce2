// The main of the per-area benchmarks, whose names are
// "<operation>/<library>/<input>".
#include "bench/bench_support.h"

int main(int argc, char** argv) { return veskbench::RunBenchmarks(argc, argv, 1); }
