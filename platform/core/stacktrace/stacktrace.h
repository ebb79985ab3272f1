#pragma once

#include "platform/core/stacktrace/stacktracetext.h"

#include <windows.h>

#include <string>

namespace keyreap {

struct DebugHelp;

inline constexpr int maxPresentedFrames = 200;

// Appends the stack of a saved processor context: one line a frame, and at most maxFrames of them. Does
// nothing for a null context. Appends nothing, not even the header, if the debug help library is missing or
// can't be set up. With maxFrames of 0 or less there are only the header and the closing line.
void AppendStackTrace(std::wstring& text, const CONTEXT* context, int maxFrames);

// The same with the given entry points of a debug help library.
void AppendStackTrace(std::wstring& text, const CONTEXT* context, int maxFrames, const DebugHelp& debugHelp);

} // namespace keyreap
