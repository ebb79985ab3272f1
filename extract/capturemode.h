#pragma once

#include <string>
#include <string_view>

namespace keyreap {

// How a run captures; one mode holds for all its pairs.
enum class CaptureMode {
    keyRedir = 1, // redirect the predefined roots and harvest the temporary trees
    trace = 2,    // trace the kernel's registry events alone
    both = 3,     // redirect and trace; the trace gives the result, or the trees if it couldn't be started
};

// The word of a mode on the command line; empty for a value that is none.
std::wstring ModeWord(CaptureMode mode);

// The mode of a word, in whatever case; a word that is none counts as `both`.
CaptureMode ParseModeWord(std::wstring_view word);

// What a session's result is made from.
enum class ResultSource { harvest, replay };

// A trace that couldn't be started leaves the harvest, in `trace` mode one of trees that nothing was
// redirected to.
ResultSource ChooseResultSource(CaptureMode mode, bool traceFailed);

} // namespace keyreap
