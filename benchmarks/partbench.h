#pragma once

#include <cstddef>
#include <filesystem>

// The parts that are registered with Google Benchmark, each together with its comparison. A part with a wrong
// result ends with an error instead of a time.
namespace keyreap {

// replay/NAME and read/NAME for a log file NAME.etl: its replay, and only reading it.
void AddReplayBenchmarks(const std::filesystem::path& log);

// operations/log and operations/map: `operations` operations on `keys` keys, recorded in the operation log
// and in a plain hash map of full paths.
void AddOperationLogBenchmarks(std::size_t operations, std::size_t keys);

// sha1/ours and sha1/library.
void AddSha1Benchmarks();

} // namespace keyreap
