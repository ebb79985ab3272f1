#pragma once

#include "extract/nativefileregister/capturemode.h"
#include "platform/os/file/widepath.h"

#include <span>
#include <vector>

namespace keyreap {

// A file that registers itself, as named on the command line, and the .reg file to write for it.
struct FilePair {
    WidePath sourceFile;
    WidePath regFile;
};

// The pairs in the words after the verb; an odd last word is not part of a pair.
std::vector<FilePair> ParsePairs(std::span<const wchar_t* const> words);

// The mode of the run. Only its position makes a word the mode word: it is the last of an odd number of
// words, whatever it says. An unknown mode word silently means the default.
CaptureMode ParseMode(std::span<const wchar_t* const> words);

} // namespace keyreap
