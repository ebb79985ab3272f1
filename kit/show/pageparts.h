#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// The files of the page, as they were when the program was built. cmake/embedded.cmake writes the source of
// these functions.
namespace keyreap {

struct PagePart {
    std::string_view text;
    std::array<std::uint8_t, 32> digest; // SHA-256 of the text
};

PagePart PageFrame();
PagePart PageStyle();
PagePart PageScript();

} // namespace keyreap
