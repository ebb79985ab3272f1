// Usage: partbench OPERATIONS KEYS LOG... [--benchmark_OPTION...]
// Measures the parts of the program that need no Windows.

#include "benchmarks/partbench.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

int main(int count, char** words) {
    benchmark::Initialize(&count, words);
    if (count < 3) {
        return 2;
    }
    keyreap::AddOperationLogBenchmarks(std::strtoull(words[1], nullptr, 10),
                                       std::strtoull(words[2], nullptr, 10));
    for (int i = 3; i < count; ++i) {
        keyreap::AddReplayBenchmarks(words[i]);
    }
    keyreap::AddSha1Benchmarks();
    benchmark::RunSpecifiedBenchmarks();
}
