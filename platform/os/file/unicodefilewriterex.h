#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/os/file/textencoding.h"

namespace keyreap {

struct TextFileSettings {
    static constexpr std::int32_t noCodePage = -1;

    TextEncoding encoding = TextEncoding::utf16LittleEndianWithMark;
    std::int32_t codePage = noCodePage; // if set, text is converted to it and `encoding` is not used
    bool append = false;                // open at the end of an existing file
};

} // namespace keyreap
