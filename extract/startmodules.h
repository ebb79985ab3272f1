#pragma once

namespace keyreap {

// Loads, for the life of the process, the modules that must never be loaded while the roots are redirected:
// the common controls, IPHLPAPI and MPR. A failure changes nothing.
void LoadStartModules();

} // namespace keyreap
