#pragma once

#include <string>
#include <string_view>

namespace keyreap {

// The default path of a known folder, with a backslash at its end, whether or not the folder exists. The
// identifier is a GUID as text. Deliberate: false only without a known folder manager; for a folder that the
// manager doesn't know, the path is unchanged and the result is true.
bool FindKnownFolder(std::wstring_view identifier, std::wstring& path);

} // namespace keyreap
