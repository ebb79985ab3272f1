#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace keyreap {

// A synthetic log of a busy machine, the same each time: one process registers classes while many others read
// the registry.
struct MachineLog {
    static constexpr std::uint32_t ourProcess = 4321;
    static constexpr std::uint64_t operationsOfKey = 8;

    std::uint64_t events = 0; // all events, including the names of handles
    std::uint64_t ours = 0;   // the operations of our process, evenly spread

    // The keys that our process creates, repeatedly in a long log. No known server creates as many.
    static constexpr std::uint64_t mostKeys = 10'000;
    std::uint64_t OurKeys() const {
        return std::min((ours + operationsOfKey - 1) / operationsOfKey, mostKeys);
    }

    // False if the file can't be written.
    bool Write(const std::filesystem::path& path) const;
};

} // namespace keyreap
