#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

struct FrameLocation {
    std::wstring file;
    std::uint32_t line;
};

// The file and the line of a text such as "file.cpp:12", without the blanks around them.
FrameLocation SplitFrameLocation(std::wstring_view text);

// The position of the first frame of a stack trace that has one.
std::optional<FrameLocation> FirstFrameLocation(std::wstring_view trace);

} // namespace keyreap
