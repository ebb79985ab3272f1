#pragma once

namespace keyreap::testsupport {

// The memory of the C run time's heap that the program has allocated and not released. It is checked piece by
// piece, since a check of the whole heap may leave small pieces out: Wine 10 allocates them in groups, and
// checks only the groups.

// No effect for null.
void AddLiveMemory(void* memory);

// No effect for memory that was not added.
void RemoveLiveMemory(void* memory);

// False if something has written past a piece. Like HeapValidate, it sees that only where the system keeps a
// mark there.
bool IsLiveMemoryWhole();

} // namespace keyreap::testsupport
