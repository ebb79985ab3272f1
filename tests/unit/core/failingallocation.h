#pragma once

namespace keyreap::testsupport {

// Has the program's next allocations by operator new fail with std::bad_alloc: so many, and no further one.
void FailNextAllocations(int count);

} // namespace keyreap::testsupport
