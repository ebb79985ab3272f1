#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap::fuzz {

// The content of one entry of a .reg file, as an importer reads it.
struct RegEntry {
    std::wstring name; // empty for the default value
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data; // a string has no terminator here

    friend bool operator==(const RegEntry&, const RegEntry&) = default;
};

// Reads one whole entry, including its CR LF, by the published grammar of the format. It shares no code with
// the encoders. Empty if the entry is not well-formed.
std::optional<RegEntry> ReadRegEntry(std::wstring_view entry);

} // namespace keyreap::fuzz
