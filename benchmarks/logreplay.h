#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace keyreap {

// The result of the replay of a log file, without the work in a live registry.
struct ReplayResult {
    bool complete = false; // the file was read to its end
    std::uint64_t events = 0;
    std::uint64_t operations = 0; // of the watched process
    std::uint64_t keys = 0;       // reported by the walk over the operation log
    std::uint64_t values = 0;
};

ReplayResult ReplayLogFile(const std::filesystem::path& path, std::uint32_t watchedProcess);

// The least number of bytes for the operations of the watched process and the last name of each handle: the
// records, each text of theirs once, and each handle with its name as the log has it.
std::size_t LeastSizeOf(const std::filesystem::path& path, std::uint32_t watchedProcess);

} // namespace keyreap
