#pragma once

#include <string>
#include <string_view>

namespace keyreap {

// The default path of a known folder, with a backslash at its end, whether or not the folder exists. The
// identifier is a GUID as text. False only if there is no known folder manager: if it doesn't know the
// folder, the path stays as it was and the result is true all the same.
bool FindKnownFolder(std::wstring_view identifier, std::wstring& path);

} // namespace keyreap
