// The linker directs the program's calls of these functions here, including those of operator new and
// operator delete (--wrap).
#include "tests/support/livememory.h"
#include "tests/support/releasedmemory.h"

#include <cstddef>

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);

void* __wrap_malloc(std::size_t size) {
    void* const memory = __real_malloc(size);
    keyreap::testsupport::AddLiveMemory(memory);
    return memory;
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    void* const memory = __real_calloc(count, size);
    keyreap::testsupport::AddLiveMemory(memory);
    return memory;
}

void __wrap_free(void* memory) {
    keyreap::testsupport::RemoveLiveMemory(memory);
    keyreap::testsupport::ReleaseChecked(memory);
}

void* __wrap_realloc(void* memory, std::size_t size) {
    keyreap::testsupport::CheckMemory(memory);
    keyreap::testsupport::RemoveLiveMemory(memory);
    void* const resized = __real_realloc(memory, size);
    keyreap::testsupport::AddLiveMemory(resized != nullptr || size == 0 ? resized : memory);
    return resized;
}

} // extern "C"
