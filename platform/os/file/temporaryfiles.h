#pragma once

#include "platform/os/file/widepath.h"

#include <string>

namespace keyreap {

// The user's temporary directory; empty if the system gives none.
WidePath GetTempDirectory();

// Sets `name` to a path in the temporary directory (first three characters of the prefix, hexadecimal digits,
// ".tmp") that was free a moment ago; no file of that name remains. On failure, false and an unchanged
// `name`.
bool ReserveTempName(const std::wstring& prefix, std::wstring& name);

// Creates an empty file in the temporary directory and returns its path. An empty extension means the
// system's own (tmp). Failures are not reported: the path is returned even if the file could not be created.
WidePath CreateTempFileWithExtension(const std::wstring& prefix, const std::wstring& extension);

// The second half of CreateTempFileWithExtension: `created` is the name that the system chose in `directory`,
// and its file is gone. Creates an empty file of that name with the extension, or with the next number if
// that is taken. If the next number is taken too, the returned path is in a directory that does not exist,
// and no file is created.
WidePath CreateFileWithExtension(const std::wstring& created, const WidePath& directory,
                                 const std::wstring& prefix, const std::wstring& extension);

} // namespace keyreap
