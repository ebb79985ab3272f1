#pragma once

#include "extract/nativefileregister/temporarypaths.h"
#include "platform/os/file/widepath.h"

namespace keyreap {

// Copies the first TYPELIB resource of a file with the extension .exe into a temporary .tlb file, which
// `typeLibTemps` removes later, and returns its path. Empty for any other file, for a program without such a
// resource, and on any failure. No code of the file runs.
WidePath ExtractTypeLib(const WidePath& filePath, TemporaryPaths& typeLibTemps);

// Whether a file itself is a type library: it begins with "MSFT" and is longer.
bool IsTypeLibFile(const WidePath& path);

} // namespace keyreap
