#pragma once

#include "platform/os/file/widepath.h"

#include <vector>

namespace keyreap {

// Things on the disk that go together. Whoever makes them adds them to the lists; the destructor removes what
// they name: first the files (a name with "*" is a pattern that directories never match), then the
// directories from last to first, then the trees with all that they hold. Nothing is reported.
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
