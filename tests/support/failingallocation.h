#pragma once

namespace keyreap::testsupport {

// The program's next `count` allocations by operator new fail with std::bad_alloc, and no later one.
void FailNextAllocations(int count);

} // namespace keyreap::testsupport
