#pragma once

#include "platform/os/file/widepath.h"

#include <string>
#include <vector>

namespace keyreap {

// A temporary path that a capture used, and the user's own path that replaces it in the .reg file. Both have
// the form that the file API takes.
struct PathPair {
    std::wstring temporaryPath;
    std::wstring finalPath;
};

using PathPairs = std::vector<PathPair>;

// Appends the pair of the two files and then the pair of their folders, which is applied later.
void AddPathPairs(PathPairs& pairs, const WidePath& temporaryPath, const WidePath& finalPath);

// The pairs of a session. A file that was registered in its own place, without a staged type library, has no
// pairs. Only the first staged type library has a pair. `originalFilePath` is the input if it was staged, or
// empty.
PathPairs FormPathPairs(const WidePath& filePath, const WidePath& originalFilePath,
                        const std::vector<WidePath>& stagedTypeLibs);

} // namespace keyreap
