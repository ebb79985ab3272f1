#pragma once

namespace keyreap::testsupport {

// Memory of the C run time's heap is checked when it is released, since it may be gone at the end of a test.
// It is then kept for a while to see whether something writes to it. A write just past a piece is seen only
// where the system keeps a mark there, as it does in the sessions of the suites (wine-session.sh
// --checked-heaps).

// Does what `free` does, a little later.
void ReleaseChecked(void* memory);

// Checks memory that isn't released.
void CheckMemory(void* memory);

// True if memory was damaged since the last call: written past its end, released twice, or written to after
// its release.
bool TakeDamage();

} // namespace keyreap::testsupport
