// The linker directs the program's calls of `free` and `realloc` here, including those of operator delete
// (--wrap).
#include "tests/support/releasedmemory.h"

#include <cstddef>

extern "C" {

void* __real_realloc(void* memory, std::size_t size);

void __wrap_free(void* memory) {
    keyreap::testsupport::ReleaseChecked(memory);
}

void* __wrap_realloc(void* memory, std::size_t size) {
    keyreap::testsupport::CheckMemory(memory);
    return __real_realloc(memory, size);
}

} // extern "C"
