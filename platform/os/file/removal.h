#pragma once

#include <string_view>

namespace keyreap {

// Removes everything in a directory, read-only entries too, but not the directory itself. A failure on one
// entry is not reported and does not stop the removal of the rest. A link to a directory counts as a
// directory.
void RemoveTree(std::wstring_view directory);

// Remove one empty directory, or one file. Paths of 260 characters or more get the extended-length prefix.
// True if the system removed it.
bool RemoveDirectoryLong(std::wstring_view path);
bool DeleteFileLong(std::wstring_view path);

} // namespace keyreap
