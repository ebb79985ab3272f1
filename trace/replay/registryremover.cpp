#include "trace/replay/registryremover.h"

#include "registry/regkey.h"
#include "trace/replay/livevalue.h"

namespace keyreap {

namespace {

void DeleteLiveValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName) {
    RegKey key;
    if (key.Open(HandleOf(root), keyPath, RegKey::fullAccess) == ERROR_SUCCESS) {
        RegDeleteValueW(key.Handle(), valueName.c_str());
    }
}

} // namespace

void RegistryRemover::OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome,
                            std::uint32_t valueCount, std::uint32_t childCount) {
    valuesLeft = valueCount;
    if (valueCount == 0 && childCount == 0) {
        DeleteEmptyKeyChain(HandleOf(root), keyPath);
    }
}

void RegistryRemover::OnValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                              Outcome kind) {
    --valuesLeft;
    if (kind != Outcome::deleted) {
        DeleteLiveValue(root, keyPath, valueName);
    }
    if (valuesLeft == 0) {
        DeleteEmptyKeyChain(HandleOf(root), keyPath);
    }
}

} // namespace keyreap
