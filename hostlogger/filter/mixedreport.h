#pragma once

#include "hostlogger/filter/keptfile.h"

#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The keys that the host mixed up in this log (hostlogger/filter/mixedkeys.h).
std::vector<std::wstring> FindMixedKeys(const KeptFile& log);

// A name of UTF-16 units as one line of UTF-8, without a line break: control characters, other line breaks
// and lone surrogates become question marks.
std::string LineOfName(std::wstring_view name);

// Writes each name as a line into a file of this path. Without names no file is written.
void WriteNames(const std::vector<std::wstring>& names, const std::string& path);

} // namespace keyreap
