#pragma once

#include "extract/nativefileregister/capturemode.h"

#include <string>
#include <string_view>

namespace keyreap {

// The word of a mode on the command line; empty for an invalid value.
std::wstring ModeWord(CaptureMode mode);

// The mode of a word, in upper or lower case; `both` for any unknown word.
CaptureMode ParseModeWord(std::wstring_view word);

} // namespace keyreap
