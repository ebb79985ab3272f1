#pragma once

#include "extract/arguments.h"

#include <string>
#include <vector>

namespace keyreap {

// The 32-bit build: a program of the same name in the folder "x86" next to this program's folder. The
// relative `x86\NAME` if that folder has no parent.
WidePath CompanionPath(const WidePath& executable);

// The companion's whole command line. The mode is always passed on; nothing in a path is escaped.
std::wstring CompanionCommandLine(const WidePath& companion, const std::vector<FilePair>& pairs,
                                  CaptureMode mode);

} // namespace keyreap
