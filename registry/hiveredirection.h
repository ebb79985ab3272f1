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

// Makes overrides apply to callers that name a view of the registry, which Wine lacks for the classes
// (classesoverride.h). Needed in every mode, because a target may redirect roots itself.
void ApplyOverridesToAllViews();

// Redirects the process's four predefined roots to the temporary keys, each directly after its subkeys were
// deleted, and creates `Software\Classes` in the machine's tree on a system of version 6.0 or later. A root
// whose temporary key isn't open is not redirected. The version records must have been read before.
void OverrideRoots(const HiveKeys& keys, const OsVersion& running = RunningVersion());

// Ends the redirection. The content of the temporary tree stays.
void LiftOverrides(const HiveKeys& keys, const OsVersion& running = RunningVersion());

} // namespace keyreap
