#include "trace/replay/livevalue.h"

#include "registry/regkey.h"

namespace keyreap {

namespace {

LSTATUS QueryValue(HKEY key, const std::wstring& name, DWORD& type, BYTE* buffer, DWORD& size) {
    return RegQueryValueExW(key, name.c_str(), nullptr, &type, buffer, &size);
}

} // namespace

HKEY HandleOf(PredefinedRoot root) {
    return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(root));
}

bool ReadLiveValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                   std::uint32_t& type, std::vector<std::uint8_t>& data) {
    const RegKey key(keyPath, HandleOf(root), true);
    if (key.Handle() == nullptr) {
        return false;
    }
    // Deliberate: a buffer of size 0 and not a null pointer, because a value without data then succeeds at
    // once.
    BYTE nothing = 0;
    DWORD size = 0;
    DWORD liveType = 0;
    LSTATUS status = QueryValue(key.Handle(), valueName, liveType, &nothing, size);
    data.resize(size);
    if (status == ERROR_MORE_DATA) {
        status = QueryValue(key.Handle(), valueName, liveType, data.data(), size);
        data.resize(size);
    }
    type = liveType;
    return status == ERROR_SUCCESS;
}

} // namespace keyreap
