#pragma once

namespace keyreap::testsupport {

// Memory of the C run time's heap is checked when it's released, since at the end of a test it may be gone,
// and kept for a while, to see whether it's still written to. What is written just past a piece is seen only
// where the system keeps a mark there, as it does in the sessions of the suites (wine-session.sh
// --checked-heaps).

// Does what `free` does, a little later.
void ReleaseChecked(void* memory);

// Looks at memory that isn't released.
void CheckMemory(void* memory);

// Whether memory was damaged since the last call: written past, released twice, or written to after its
// release.
bool TakeDamage();

} // namespace keyreap::testsupport
