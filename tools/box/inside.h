#pragma once

#include <span>

namespace keyreap {

// The first program in the box: starts the session's server, then the command, and returns the command's
// status, or 128 and the number of the signal that ended it. All that still runs ends with the box. The words
// are those of InsideWords.
int RunInside(std::span<char* const> words);

} // namespace keyreap
