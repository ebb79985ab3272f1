#include "kit/emit/installplace.h"

#include "platform/core/text/compare.h"
#include "regmodel/regplace.h"

#include <array>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view classes = L"Software\\Classes";

std::wstring Joined(std::wstring_view path, std::wstring_view below) {
    std::wstring joined(path);
    return below.empty() ? joined : joined + L'\\' + std::wstring(below);
}

// The roots of one user or of the current hardware belong to the machine, except one.
std::variant<InstallPlace, std::wstring> PlaceInRoot(InstallRoot root, std::wstring_view below,
                                                     InstallScope scope) {
    if (scope == InstallScope::User && root != InstallRoot::CurrentUser) {
        return std::wstring(L"is the machine's, and the scope is the user");
    }
    return InstallPlace{root, std::wstring(below)};
}

} // namespace

std::variant<InstallPlace, std::wstring> InstallPlaceOf(std::wstring_view keyPath, InstallScope scope) {
    const std::wstring_view below = keyPath.substr(std::min(keyPath.find(L'\\'), keyPath.size() - 1) + 1);
    const RegScope place = PlaceOf(keyPath).scope;
    const InstallRoot own =
        scope == InstallScope::User ? InstallRoot::CurrentUser : InstallRoot::LocalMachine;
    switch (place.hive) {
    case RegHive::ClassesRoot:
        return InstallPlace{own, Joined(classes, below)};
    case RegHive::LocalMachine:
        return PlaceInRoot(place.area == RegArea::Classes ? own : InstallRoot::LocalMachine, below, scope);
    case RegHive::CurrentUser:
        return PlaceInRoot(InstallRoot::CurrentUser, below, scope);
    case RegHive::Users:
        return PlaceInRoot(InstallRoot::Users, below, scope);
    case RegHive::CurrentConfig:
        return PlaceInRoot(InstallRoot::CurrentConfig, below, scope);
    default:
        return std::wstring(L"is in no known root");
    }
}

} // namespace keyreap
