#include "hostlogger/reportednames.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view usersKey = L"\\REGISTRY\\USER\\";
constexpr std::wstring_view machineKey = L"\\REGISTRY\\MACHINE\\";
constexpr std::wstring_view classesEnd = L"_Classes";
constexpr std::wstring_view node = L"WOW6432Node";
// The system's account has the hive of the default user, and no hive of its own for classes.
constexpr std::wstring_view systemAccount = L"S-1-5-18";
constexpr std::wstring_view defaultUser = L".DEFAULT";

// The nodes of the machine's hives are the system's. One that a server makes elsewhere keeps its spelling.
void CapitalizeNodes(std::wstring& path) {
    if (!StartsWithFolded(path, machineKey)) {
        return;
    }
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find(L'\\', start), path.size());
        if (EqualFolded(std::wstring_view(path).substr(start, end - start), node)) {
            path.replace(start, end - start, node);
        }
        start = end + 1;
    }
}

// Whether the path is the key or below it.
bool IsIn(std::wstring_view path, std::wstring_view key) {
    return StartsWithFolded(path, key) && (path.size() == key.size() || path[key.size()] == L'\\');
}

} // namespace

ReportedNames::ReportedNames(const Strictness& strictness, std::wstring currentUser)
    : capitals(strictness.capitals) {
    if (strictness.user.empty()) {
        return;
    }
    userKey = std::move(currentUser);
    const bool isSystem = strictness.user == systemAccount;
    reportedUser = std::wstring(usersKey) + (isSystem ? std::wstring(defaultUser) : strictness.user);
    reportedClasses = reportedUser + (isSystem ? L"\\Software\\Classes" : std::wstring(classesEnd));
}

std::wstring ReportedNames::KernelName(const std::wstring& path) const {
    std::wstring name = AskedName(path);
    if (capitals) {
        CapitalizeNodes(name);
    }
    return name;
}

std::wstring ReportedNames::AskedName(const std::wstring& path) const {
    if (userKey.empty()) {
        return path;
    }
    const std::wstring classesKey = userKey + std::wstring(classesEnd);
    if (IsIn(path, classesKey)) {
        return reportedClasses + path.substr(classesKey.size());
    }
    return IsIn(path, userKey) ? reportedUser + path.substr(userKey.size()) : path;
}

std::wstring ReportedNames::AskedName(const std::wstring& parent, const std::wstring& name) const {
    if (!EqualFolded(parent + L'\\', usersKey)) {
        return name; // the account's name can only be part of the parent's
    }
    return AskedName(parent + L'\\' + name).substr(parent.size() + 1);
}

} // namespace keyreap
