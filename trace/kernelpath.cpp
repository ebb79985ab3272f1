#include "trace/kernelpath.h"

#include "platform/core/text/compare.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::wstring_view machineClasses = L"\\SOFTWARE\\Classes";
constexpr std::wstring_view view32 = L"Wow6432Node";

// The root that a kernel path names, and the rest of the path as it came.
struct KernelKey {
    PredefinedRoot root;
    std::wstring_view path;
    bool inUserClasses = false;
};

// Removes `prefix` from the front of `path`. A prefix also matches the front of a longer component.
bool SkipPrefix(std::wstring_view& path, std::wstring_view prefix) {
    if (!StartsWithFolded(path, prefix)) {
        return false;
    }
    path.remove_prefix(prefix.size());
    return true;
}

KernelKey MachineKey(std::wstring_view path, bool classesAsRoot) {
    if (classesAsRoot && SkipPrefix(path, machineClasses)) {
        return {classesRoot, path};
    }
    return {localMachineRoot, path};
}

// Every user's hive counts as the current user's, and a user's class hive as that user's classes.
KernelKey AccountKey(std::wstring_view path, std::size_t accountPrefixLength, bool classesAsRoot) {
    static constexpr std::wstring_view classHiveEnd = L"_Classes";
    const std::size_t accountEnd = std::min(path.find(L'\\', accountPrefixLength), path.size());
    const std::wstring_view account = path.substr(0, accountEnd);
    const std::wstring_view below = path.substr(accountEnd);
    if (CompareFolded(account.substr(account.size() - classHiveEnd.size()), classHiveEnd) != 0) {
        return {currentUserRoot, below};
    }
    return classesAsRoot ? KernelKey{classesRoot, below} : KernelKey{currentUserRoot, below, true};
}

KernelKey UserKey(std::wstring_view path, bool classesAsRoot) {
    static constexpr std::wstring_view accountPrefix = L"\\S-1-5-21";
    if (StartsWithFolded(path, L"\\.DEFAULT")) {
        return {usersRoot, path};
    }
    if (StartsWithFolded(path, accountPrefix)) {
        return AccountKey(path, accountPrefix.size(), classesAsRoot);
    }
    return {noRoot, path};
}

KernelKey Classify(std::wstring_view path, bool classesAsRoot) {
    if (SkipPrefix(path, L"\\MACHINE")) {
        return MachineKey(path, classesAsRoot);
    }
    if (SkipPrefix(path, L"\\USER")) {
        return UserKey(path, classesAsRoot);
    }
    return {noRoot, path};
}

} // namespace

bool NormalizeKernelPath(std::wstring_view path, bool classesAsRoot, PredefinedRoot& root,
                         std::wstring& normalized) {
    static constexpr std::wstring_view registry = L"\\REGISTRY";
    normalized.clear();
    if (path.size() <= registry.size() || !SkipPrefix(path, registry)) {
        return false;
    }
    const KernelKey key = Classify(path, classesAsRoot);
    root = key.root;
    normalized = key.path.substr(key.path.starts_with(L'\\') ? 1 : 0);
    if (normalized.empty()) {
        return true;
    }
    // The 32-bit view of a key and its 64-bit view are one key here. The classes were recognised before, so
    // that SOFTWARE\Wow6432Node\Classes stays below HKEY_LOCAL_MACHINE.
    RemovePathComponent(normalized, view32);
    if (key.inUserClasses) {
        normalized.insert(0, L"SOFTWARE\\Classes\\");
    }
    return true;
}

bool MakesSubkeyPath(PredefinedRoot root, std::wstring_view keyPath, std::wstring_view name) {
    // A path of this length has nothing more that is compared with a prefix, and isn't that of a class hive
    // itself, which lacks what is put in front of its subkeys.
    const bool isSettled = root == classesRoot || (root != noRoot && keyPath.size() >= machineClasses.size());
    return isSettled && name.find(view32) == std::wstring_view::npos;
}

bool RemovePathComponent(std::wstring& path, std::wstring_view component) {
    // An occurrence inside a longer name counts too.
    std::size_t start = path.find(component);
    if (component.empty() || start == std::wstring::npos) {
        return false;
    }
    std::size_t length = component.size();
    if (start > 0 && path[start - 1] == L'\\') {
        --start;
        ++length;
    } else if (start + length < path.size() && path[start + length] == L'\\') {
        ++length;
    }
    path.erase(start, length);
    return true;
}

} // namespace keyreap
