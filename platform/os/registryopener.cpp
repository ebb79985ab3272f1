#include "platform/os/registryopener.h"

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
    const LSTATUS status = RegOpenKeyExW(parent, subkey, 0, access, &opened);
    return TakeOnSuccess(status, opened, key);
}

LSTATUS CreateRegistryKey(HKEY parent, const wchar_t* subkey, REGSAM access, OwnedRegistryKey& key) {
    HKEY created = nullptr;
    DWORD disposition = 0;
    const LSTATUS status = RegCreateKeyExW(parent, subkey, 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                                           nullptr, &created, &disposition);
    return TakeOnSuccess(status, created, key);
}

} // namespace keyreap
