#pragma once

#include "regmodel/regentry.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

// Captures as one HTML page that needs nothing else. The page has the captures as JSON, and its script shows
// them.
namespace keyreap {

struct PageCapture {
    std::wstring name; // as the page calls it
    RegDocument document;
};

// What a check has found, shown at the key and in a list of its own.
struct PageFinding {
    std::size_t capture = 0;
    std::wstring rule;                 // its number; may be empty
    std::wstring key;                  // its path; empty for the whole capture
    std::optional<std::wstring> value; // none for the key itself
    std::wstring sentence;
};

// The page in UTF-8. Equal arguments give equal pages.
std::string ShowPage(std::span<const PageCapture> captures, std::span<const PageFinding> findings);

} // namespace keyreap
