#pragma once

#include "platform/os/file/widepath.h"

#include <vector>

namespace keyreap {

// Entries on the disk that are removed together. Their maker adds them to the lists. The destructor removes
// first the files (a name with "*" is a pattern, which never matches directories), then the directories from
// last to first, then the trees with everything in them. Failures are not reported.
struct TemporaryPaths {
    std::vector<WidePath> files;
    std::vector<WidePath> directories;
    std::vector<WidePath> trees;

    TemporaryPaths() = default;
    TemporaryPaths(const TemporaryPaths&) = delete;
    TemporaryPaths& operator=(const TemporaryPaths&) = delete;
    ~TemporaryPaths();
};

} // namespace keyreap
