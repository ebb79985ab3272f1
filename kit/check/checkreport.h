#pragma once

#include "kit/capture/noise.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What `keykit check` says of a capture. docs/check.md has a section for each rule.
namespace keyreap {

// The parts of a check, each of which can be left out.
enum class CheckPart { Whole, Result, Works, Clean, Noise, Same, Fillers };

// One thing that is wrong. The number is that of its rule, such as C101.
struct CheckFinding {
    std::string_view rule;
    std::wstring key;                  // empty: the whole capture
    std::optional<std::wstring> value; // none: the key itself; empty: the default value
    std::wstring sentence;
};

// How many of the capture's classes could be created.
struct CreatedCount {
    std::size_t classes = 0;
    std::size_t byCapture = 0;      // after an import of the capture
    std::size_t byRegistration = 0; // after the server registered itself
};

struct CheckReport {
    std::string capture;          // the file's name
    std::string server;           // the file's name
    std::string digest;           // of the capture: SHA-1, in hexadecimal digits
    std::vector<CheckPart> parts; // which were checked
    std::optional<CreatedCount> created;
    std::vector<CheckFinding> findings;
    std::vector<NoiseEntry> noise;
};

} // namespace keyreap
