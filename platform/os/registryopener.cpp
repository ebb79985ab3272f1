#include "platform/os/registryopener.h"

#include "platform/os/entrypoint.h"
#include "platform/os/ownkeys.h"

namespace keyreap {

namespace {

LSTATUS TakeOnSuccess(LSTATUS status, HKEY opened, OwnedRegistryKey& key) {
    if (status == ERROR_SUCCESS) {
        key.Reset(opened);
    }
    return status;
}

} // namespace

LSTATUS OpenRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key) {
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(parent, subkey, 0, access | ViewOfOwnKey(parent, subkey), &opened);
    return TakeOnSuccess(status, opened, key);
}

LSTATUS CreateRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key) {
    HKEY created = nullptr;
    DWORD disposition = 0;
    const LSTATUS status =
        RegCreateKeyExW(parent, subkey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                        access | ViewOfOwnKey(parent, subkey), nullptr, &created, &disposition);
    return TakeOnSuccess(status, created, key);
}

LSTATUS DeleteRegistryKey(HKEY parent, const wchar_t* subkey) {
    if (const REGSAM view = ViewOfOwnKey(parent, subkey)) {
        static const auto deleteInView =
            FindEntryPoint<DeleteKeyExFunction>(GetModuleHandleW(L"Advapi32.dll"), "RegDeleteKeyExW");
        return deleteInView(parent, subkey, view, 0);
    }
    return RegDeleteKeyW(parent, subkey);
}

} // namespace keyreap
