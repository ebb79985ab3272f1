#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace keyreap {

// A made-up log of a busy machine, the same each time: one process registers classes among many that look
// things up.
struct MachineLog {
    static constexpr std::uint32_t ourProcess = 4321;
    static constexpr std::uint64_t operationsOfKey = 8;

    std::uint64_t events = 0; // all of them, the names of handles included
    std::uint64_t ours = 0;   // operations of our process among them, evenly spread

    // Keys that our process makes: more than any server known here, and again and again in a long log.
    static constexpr std::uint64_t mostKeys = 10'000;
    std::uint64_t OurKeys() const {
        return std::min((ours + operationsOfKey - 1) / operationsOfKey, mostKeys);
    }

    // False if the file can't be written.
    bool Write(const std::filesystem::path& path) const;
};

} // namespace keyreap
