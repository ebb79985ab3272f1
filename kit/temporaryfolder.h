#pragma once

#include <string>

namespace keyreap {

// A folder of its own in the system's folder for temporary files, which is removed with all that is in it.
// Fails with a Refusal.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // The full name of the folder itself, in UTF-8.
    const std::string& Name() const { return folder; }

    // The full name, in UTF-8, of a file in the folder.
    std::string FileNamed(const std::string& name) const;

private:
    std::string folder;
};

} // namespace keyreap
