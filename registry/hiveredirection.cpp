#include "registry/hiveredirection.h"

#include "platform/os/winehost.h"
#include "registry/classesoverride.h"

namespace keyreap {

namespace {

void OverrideRoot(HKEY root, const RegKey& key) {
    // Deliberate: values of the temporary key itself stay, even those of a crashed run: only subkeys are
    // cleared.
    key.ClearSubkeys();
    RegOverridePredefKey(root, key.Handle());
}

} // namespace

void ApplyOverridesToAllViews() {
    if (RunsOnWine()) {
        CloseGapInClassesOverride();
    }
}

void OverrideRoots(const HiveKeys& keys, const OsVersion& running) {
    OverrideRoot(HKEY_CLASSES_ROOT, keys.hkcr);
    OverrideRoot(HKEY_CURRENT_USER, keys.hkcu);
    OverrideRoot(HKEY_USERS, keys.hku);
    OverrideRoot(HKEY_LOCAL_MACHINE, keys.hklm);
    if (IsAtLeast(running, VistaVersion())) {
        RegKey classes(L"Software\\Classes", HKEY_LOCAL_MACHINE, true);
        classes.CreateIfMissing();
    }
}

void LiftOverrides(const HiveKeys& keys, const OsVersion& running) {
    for (const HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_USERS, HKEY_LOCAL_MACHINE}) {
        RegOverridePredefKey(root, nullptr);
    }
    if (IsAtLeast(running, VistaVersion())) {
        // Deliberate: these are the machine's real classes again, and the system refuses because they have
        // subkeys. A call before the overrides are lifted could delete the temporary `Classes`, which the
        // result needs.
        const RegKey software(L"Software\\", HKEY_LOCAL_MACHINE, true);
        RegDeleteKeyW(software.Handle(), L"Classes");
    }
    DeleteRegistryKey(keys.hklm.Handle(), L"Software");
}

} // namespace keyreap
