#pragma once

#include "platform/os/ownedhandle.h"

#include <string>
#include <vector>

namespace keyreap {

// A file in the temporary folder, removed with this object.
class TemporaryFile {
public:
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::wstring& Path() const { return path; }

    // A failure shows in what reads the file.
    void Write(const std::string& text) const;

    // A handle for the standard output of a program, which inherits it.
    OwnedFile OpenForPrograms() const;

    // The whole lines; the part of a line at the end is none.
    std::vector<std::string> Lines() const;

private:
    std::wstring path;
};

} // namespace keyreap
