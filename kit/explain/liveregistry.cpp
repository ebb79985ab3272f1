#include "kit/explain/liveregistry.h"

#include "platform/os/ownedhandle.h"
#include "trace/replay/livevalue.h"

namespace keyreap {

namespace {

OwnedRegistryKey Opened(PredefinedRoot root, const std::wstring& path) {
    HKEY key = nullptr;
    if (root == noRoot || RegOpenKeyExW(HandleOf(root), path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return {};
    }
    return OwnedRegistryKey(key);
}

} // namespace

bool LiveRegistry::HasKey(PredefinedRoot root, const std::wstring& path) {
    return Opened(root, path).Valid();
}

bool LiveRegistry::HasValue(PredefinedRoot root, const std::wstring& path, const std::wstring& name) {
    const OwnedRegistryKey key = Opened(root, path);
    return key.Valid() &&
           RegQueryValueExW(key.Get(), name.c_str(), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

} // namespace keyreap
