#pragma once

#include <windows.h>

namespace keyreap::testsupport {

// Takes the place of a function of the system that this program imports, for the life of the object: a test
// sees by it what the program's code asks of the system where nothing else shows it. Calls from other modules
// don't come here. The replacement has the function's own type.
class ImportReplacement {
public:
    ImportReplacement(const char* name, const void* replacement);
    ImportReplacement(const ImportReplacement&) = delete;
    ImportReplacement& operator=(const ImportReplacement&) = delete;
    ~ImportReplacement();

    // The system's own function.
    const void* Original() const { return original; }

private:
    const void** slot;
    const void* original = nullptr;
};

} // namespace keyreap::testsupport
