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

// The words behind the verb, taken two by two; an odd last word is no part of a pair.
std::vector<FilePair> ParsePairs(std::span<const wchar_t* const> words);

// The mode of the run. Only the position tells a mode word from a file: the last of an odd number of words is
// one, whatever it says, and one that says nothing known is quietly the default.
CaptureMode ParseMode(std::span<const wchar_t* const> words);

} // namespace keyreap
