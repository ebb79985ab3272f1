#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap::fuzz {

// What an importer takes from one entry of a .reg file.
struct RegEntry {
    std::wstring name; // empty for the default value
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data; // of a string without its terminator

    friend bool operator==(const RegEntry&, const RegEntry&) = default;
};

// Reads one whole entry, its CR LF included, by the published grammar of the format. It shares nothing with
// the encoders. None for what is no well-formed entry.
std::optional<RegEntry> ReadRegEntry(std::wstring_view entry);

} // namespace keyreap::fuzz
