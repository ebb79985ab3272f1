#pragma once

namespace keyreap {

// Loads, for the life of the process, the modules that must not be loaded for the first time while the roots
// are redirected: the common controls, IPHLPAPI and MPR. A failure is ignored.
void LoadStartModules();

} // namespace keyreap
