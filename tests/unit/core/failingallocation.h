#pragma once

namespace keyreap::testsupport {

// Has the program's next allocation by operator new fail with std::bad_alloc, and only that one.
void FailNextAllocation();

} // namespace keyreap::testsupport
