#include "benchmarks/logreplay.h"
#include "benchmarks/machinelog.h"
#include "benchmarks/partbench.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace keyreap {

namespace {

constexpr std::size_t readSize = 1024 * 1024;

// Each replay begins with as little free memory as in its own process.
void ForgetFreeMemory(benchmark::State& state) {
    state.PauseTiming();
    malloc_trim(0);
    state.ResumeTiming();
}

void Replay(benchmark::State& state, const std::filesystem::path& log) {
    ReplayResult result;
    for (auto _ : state) {
        ForgetFreeMemory(state);
        result = ReplayLogFile(log, MachineLog::ourProcess);
    }
    if (!result.complete || (result.keys == 0) != (result.operations == 0)) {
        state.SkipWithError("not replayed");
    }
    state.counters["events"] = static_cast<double>(result.events);
    state.counters["operations"] = static_cast<double>(result.operations);
    state.counters["keys"] = static_cast<double>(result.keys);
}

std::size_t ReadWhole(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    std::vector<char> bytes(readSize);
    std::size_t size = 0;
    ssize_t got = 0;
    while ((got = read(descriptor, bytes.data(), bytes.size())) > 0) {
        size += static_cast<std::size_t>(got);
    }
    close(descriptor);
    return size;
}

void Read(benchmark::State& state, const std::filesystem::path& log) {
    for (auto _ : state) {
        ForgetFreeMemory(state);
        if (ReadWhole(log) != std::filesystem::file_size(log)) {
            state.SkipWithError("not read");
        }
    }
}

} // namespace

void AddReplayBenchmarks(const std::filesystem::path& log) {
    const std::string name = log.stem().string();
    benchmark::RegisterBenchmark(("replay/" + name).c_str(), [log](auto& state) {
        Replay(state, log);
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("read/" + name).c_str(), [log](auto& state) {
        Read(state, log);
    })->Unit(benchmark::kMillisecond);
}

} // namespace keyreap
