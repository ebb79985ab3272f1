#pragma once

#include "extract/nativefileregister/temporarypaths.h"
#include "platform/os/file/widepath.h"

namespace keyreap {

// Copies the first TYPELIB resource of a file with the extension .exe into a temporary .tlb file, which
// `typeLibTemps` removes later. Empty for any other file, for one without such a resource, and on any
// failure. No code of the file runs.
WidePath ExtractTypeLib(const WidePath& filePath, TemporaryPaths& typeLibTemps);

// Whether a file is a type library of its own: longer than the magic "MSFT", and beginning with it.
bool IsTypeLibFile(const WidePath& path);

} // namespace keyreap
