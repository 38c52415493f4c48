// ostrel-bench STORE [Google Benchmark options]: every figure is called topic/case/who, where who is "ostrel" or a
// peer that does the same work; scripts/bench puts them side by side.

#include "bench/Inputs.h"

#include <iostream>

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: ostrel-bench STORE [benchmark options]\n";
        return 2;
    }
    ostrel::bench::useStore(argv[1]);
    argv[1] = argv[0];
    int rest = argc - 1;
    benchmark::Initialize(&rest, argv + 1);
    if (benchmark::ReportUnrecognizedArguments(rest, argv + 1)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
