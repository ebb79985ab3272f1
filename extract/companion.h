#pragma once

#include "extract/arguments.h"

#include <string>
#include <vector>

namespace keyreap {

// The 32-bit build beside this one: a program of the same name in the folder "x86" beside this program's
// folder. Relative, `x86\NAME`, if that folder has no parent.
WidePath CompanionPath(const WidePath& executable);

// The companion's whole command line. The mode is always passed on, and nothing in a path is escaped.
std::wstring CompanionCommandLine(const WidePath& companion, const std::vector<FilePair>& pairs,
                                  CaptureMode mode);

} // namespace keyreap
