#pragma once

#include <cstddef>
#include <filesystem>

// What registers itself with Google Benchmark, each side by side with what it is compared with. A part whose
// result is wrong ends with an error instead of a time.
namespace keyreap {

// replay/NAME and read/NAME for a log file NAME.etl: the replay, and nothing but reading the file.
void AddReplayBenchmarks(const std::filesystem::path& log);

// operations/log and operations/map: so many operations over so many keys, filed in the operation log and in
// a plain hash map of full paths.
void AddOperationLogBenchmarks(std::size_t operations, std::size_t keys);

// sha1/ours and sha1/library.
void AddSha1Benchmarks();

} // namespace keyreap
