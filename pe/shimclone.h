#pragma once

#include "platform/core/osversion.h"
#include "platform/os/wow64entry.h"

#include <string>

namespace keyreap {

// The path under which a file's version is read. On Windows 10 and later it is a temporary copy of a file in
// the Windows folder, which this object removes; otherwise it is the file's own path. The characters of the
// path alone decide, case included, whether the file is in that folder.
class ShimClone {
public:
    explicit ShimClone(std::wstring file);

    // The same for a given version of the system.
    ShimClone(std::wstring file, const OsVersion& system);

    ShimClone(const ShimClone&) = delete;
    ShimClone& operator=(const ShimClone&) = delete;
    ~ShimClone();

    const std::wstring& Path() const { return path; }
    bool IsCopy() const { return isCopy; }

private:
    std::wstring path;
    bool isCopy = false;
};

// Copies the file that the path names on disk, without the redirection of system folders. Without the entries
// the redirection stays on. True if the copy was made.
bool CopyUnredirected(const std::wstring& from, const std::wstring& to, const Wow64Entry& entry);

} // namespace keyreap
