#pragma once

#include "platform/core/osversion.h"
#include "registry/regkey.h"

namespace keyreap {

// The open keys of the temporary tree that stand for the four predefined roots, in the order of every step.
struct HiveKeys {
    const RegKey& hkcr;
    const RegKey& hkcu;
    const RegKey& hku;
    const RegKey& hklm;
};

// Points the process's four predefined roots at the temporary keys, each right after its subkeys have been
// cleared, and makes `Software\Classes` in the machine's tree on a system of version 6.0 or later. A root
// whose temporary key isn't open stays as it is. Under Wine an override of the classes holds for
// every view from the first call on (classesoverride.h). Needs the version records to have been read before.
void OverrideRoots(const HiveKeys& keys, const OsVersion& running = RunningVersion());

// Points the roots back. What the temporary tree holds stays.
void LiftOverrides(const HiveKeys& keys, const OsVersion& running = RunningVersion());

} // namespace keyreap
