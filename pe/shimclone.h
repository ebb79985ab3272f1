#pragma once

#include "platform/core/osversion.h"
#include "platform/os/wow64entry.h"

#include <string>

namespace keyreap {

// The path by which a file's version is read: on Windows 10 and later a temporary copy of a file in the
// Windows folder, which goes with this object, and else the file's own. Whether a path lies in that folder is
// told by its characters alone, case included.
class ShimClone {
public:
    explicit ShimClone(std::wstring file);

    // The same on a given version of the system.
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

// Copies the file that the path names on disk, whatever the redirection would make of it; without the entries
// as the system has it. True if the copy was made.
bool CopyUnredirected(const std::wstring& from, const std::wstring& to, const Wow64Entry& entry);

} // namespace keyreap
