#pragma once

#include "kit/temporaryfolder.h"

#include <string>

namespace keyreap {

// A folder with a copy of a server's file and everything else that is in its folder, so that a server can be
// captured as if it were installed elsewhere. Fails with a Refusal.
class OtherFolder {
public:
    explicit OtherFolder(const std::string& file);

    // The full name of the copy.
    const std::string& File() const { return copy; }

private:
    TemporaryFolder folder;
    std::string copy;
};

} // namespace keyreap
