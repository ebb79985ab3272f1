#pragma once

#include "tools/observer/debuglines.h"

#include <cstdint>
#include <string>

namespace keyreap {

// SizeOfImage in the headers of a module's file, which is searched in the prefix; 0 if it can't be read.
std::uint64_t SizeInFile(const std::string& prefix, const LoadedModule& module);

} // namespace keyreap
