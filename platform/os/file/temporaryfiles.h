#pragma once

#include "platform/os/file/widepath.h"

#include <string>

namespace keyreap {

// The user's temporary directory; empty if the system gives none.
WidePath GetTempDirectory();

// Gives a name in the temporary directory (first three characters of the prefix, hexadecimal digits, ".tmp")
// that was free a moment ago; no file of it stays. On failure gives false and leaves the name alone.
bool ReserveTempName(const std::wstring& prefix, std::wstring& name);

// Makes an empty file in the temporary directory and gives its path. An empty extension means the system's
// own (tmp). Failures are not reported: the path is given whether or not the file could be made.
WidePath CreateTempFileWithExtension(const std::wstring& prefix, const std::wstring& extension);

// The part of it behind the system's name, which is `created` in `directory`, and whose file is gone: makes
// an empty file under that name with the extension, or, if that is taken, under the name with the next
// number. If that is taken too, the path given lies beneath a directory that does not exist, and no file is
// made.
WidePath CreateFileWithExtension(const std::wstring& created, const WidePath& directory,
                                 const std::wstring& prefix, const std::wstring& extension);

} // namespace keyreap
