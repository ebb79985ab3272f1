#include "kit/explain/meantkey.h"

#include "platform/core/text/compare.h"
#include "trace/kernelpath.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view currentControlSet = L"SYSTEM\\CurrentControlSet";

std::wstring_view NameOfRoot(PredefinedRoot root) {
    switch (root) {
    case classesRoot:
        return L"HKEY_CLASSES_ROOT";
    case currentUserRoot:
        return L"HKEY_CURRENT_USER";
    case localMachineRoot:
        return L"HKEY_LOCAL_MACHINE";
    case usersRoot:
        return L"HKEY_USERS";
    default:
        return {};
    }
}

bool IsSame(std::wstring_view path, std::wstring_view prefixWithBackslash) {
    return path.size() + 1 == prefixWithBackslash.size() && StartsWithFolded(prefixWithBackslash, path);
}

// The roots of the temporary tree, the tree itself, and the keys above that only the capture makes.
bool IsOfTree(std::wstring_view path, const std::wstring& prefix) {
    constexpr std::array roots = {L"HKCR\\", L"HKCU\\", L"HKU\\", L"HKLM\\"};
    const bool isRoot =
        std::ranges::any_of(roots, [&](const auto* root) { return IsSame(path, prefix + root); });
    const bool isAbove = path.find(L'\\') != std::wstring_view::npos && path.size() < prefix.size() &&
                         prefix[path.size()] == L'\\' && StartsWithFolded(prefix, path);
    return isRoot || isAbove;
}

} // namespace

void FoldControlSet(std::wstring& path) {
    for (const std::wstring_view set : {L"SYSTEM\\ControlSet001", L"SYSTEM\\ControlSet002"}) {
        if (StartsWithFolded(path, set) && (path.size() == set.size() || path[set.size()] == L'\\')) {
            path.replace(0, set.size(), currentControlSet);
            return;
        }
    }
}

std::wstring MeantKey::Name() const {
    const std::wstring_view rootName = NameOfRoot(root);
    std::wstring name(rootName);
    name += rootName.empty() || path.empty() ? L"" : L"\\";
    return name + path;
}

std::wstring LogPlace::Text() const {
    return std::to_wstring(root) + L'\\' + FoldedText(path);
}

KeyNames::KeyNames(std::wstring prefix)
    : temporaryPrefix(std::move(prefix)), mappings(ReplayMappings(temporaryPrefix)) {}

LogPlace KeyNames::PlaceOf(const std::wstring& kernelPath) const {
    LogPlace place;
    std::wstring path;
    if (NormalizeKernelPath(kernelPath, true, place.root, path)) {
        place.path = std::move(path);
        FoldControlSet(place.path);
    }
    return place;
}

MeantKey KeyNames::Meant(const std::wstring& kernelPath) const {
    LogPlace place = PlaceOf(kernelPath);
    MeantKey key{place.root, place.path};
    if (place.path.empty()) {
        key.path = place.root == noRoot ? kernelPath : std::wstring();
        return key;
    }
    key.isTemporary = place.root == currentUserRoot && StartsWithFolded(place.path, temporaryPrefix);
    key.isTree = place.root == currentUserRoot && IsOfTree(place.path, temporaryPrefix);
    SubstituteKey(mappings, place.root, place.path, key.root, key.path);
    return key;
}

} // namespace keyreap
