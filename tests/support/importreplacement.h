#pragma once

#include <windows.h>

namespace keyreap::testsupport {

// Replaces a function of the system that this program imports, for the life of the object. A test sees the
// program's calls of the system that have no other effect. Calls from other modules are not replaced. The
// replacement has the function's own type.
class ImportReplacement {
public:
    ImportReplacement(const char* name, const void* replacement);
    ImportReplacement(const ImportReplacement&) = delete;
    ImportReplacement& operator=(const ImportReplacement&) = delete;
    ~ImportReplacement();

    // The system's own function, as a pointer of its type.
    template <typename Function>
    Function Original() const {
        return reinterpret_cast<Function>(const_cast<void*>(original));
    }

private:
    const void** slot;
    const void* original = nullptr;
};

} // namespace keyreap::testsupport
