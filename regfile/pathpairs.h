#pragma once

#include "platform/os/file/widepath.h"

#include <string>
#include <vector>

namespace keyreap {

// A name that the capture put in the place of the user's own, and that own one; both in the form that the
// file API takes.
struct PathPair {
    std::wstring temporaryPath;
    std::wstring finalPath;
};

using PathPairs = std::vector<PathPair>;

// Appends the pair of the two files and then, so that it is applied behind it, the pair of their folders.
void AddPathPairs(PathPairs& pairs, const WidePath& temporaryPath, const WidePath& finalPath);

// The pairs of a session: none for a file registered in its own place with no staged type library. Only the
// first staged type library has a pair. `originalFilePath` is the input if it was staged, else empty.
PathPairs FormPathPairs(const WidePath& filePath, const WidePath& originalFilePath,
                        const std::vector<WidePath>& stagedTypeLibs);

} // namespace keyreap
