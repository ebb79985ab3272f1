#pragma once

#include "platform/core/osversion.h"
#include "registry/regkey.h"

namespace keyreap {

// The open keys of the temporary tree that replace the four predefined roots, in the order of every step.
struct HiveKeys {
    const RegKey& hkcr;
    const RegKey& hkcu;
    const RegKey& hku;
    const RegKey& hklm;
};

// Redirects the process's four predefined roots to the temporary keys, each directly after its subkeys were
// deleted, and creates `Software\Classes` in the machine's tree on a system of version 6.0 or later. A root
// whose temporary key isn't open is not redirected. Under Wine an override of the classes applies to every
// view from the first call on (classesoverride.h). The version records must have been read before.
void OverrideRoots(const HiveKeys& keys, const OsVersion& running = RunningVersion());

// Ends the redirection. The content of the temporary tree stays.
void LiftOverrides(const HiveKeys& keys, const OsVersion& running = RunningVersion());

} // namespace keyreap
