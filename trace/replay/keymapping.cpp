#include "trace/replay/keymapping.h"

#include "platform/core/text/compare.h"

#include <algorithm>

namespace keyreap {

bool SubstituteKey(const std::vector<KeyMapping>& mappings, PredefinedRoot root, std::wstring_view keyPath,
                   PredefinedRoot& newRoot, std::wstring& newPath) {
    const auto row = std::find_if(mappings.begin(), mappings.end(), [&](const KeyMapping& mapping) {
        return mapping.fromRoot == root && StartsWithFolded(keyPath, mapping.fromPrefix);
    });
    if (row == mappings.end()) {
        return false;
    }
    newRoot = row->toRoot;
    newPath.assign(row->toPrefix).append(keyPath.substr(row->fromPrefix.size()));
    return true;
}

std::vector<KeyMapping> ReplayMappings(const std::wstring& temporaryPrefix) {
    // Every prefix ends in a backslash, so the temporary root keys themselves stay under HKEY_CURRENT_USER.
    return {
        {currentUserRoot, temporaryPrefix + L"HKCR\\", classesRoot, L""},
        {currentUserRoot, temporaryPrefix + L"HKLM\\", localMachineRoot, L""},
        {currentUserRoot, temporaryPrefix + L"HKCU\\", currentUserRoot, L""},
        {currentUserRoot, temporaryPrefix + L"HKU\\", usersRoot, L""},
        {localMachineRoot, L"Software\\Wow6432Node\\", localMachineRoot, L"Software\\"},
    };
}

} // namespace keyreap
