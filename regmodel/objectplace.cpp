#include "regmodel/objectplace.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace keyreap {

namespace {

using Names = std::vector<std::wstring>;

constexpr std::wstring_view shellEx = L"shellex";
constexpr std::wstring_view handlers = L"Handlers";

constexpr std::array<std::pair<std::wstring_view, ObjectKind>, 4> listsOfGuids = {{
    {L"CLSID", ObjectKind::Class},
    {L"Interface", ObjectKind::Interface},
    {L"TypeLib", ObjectKind::TypeLib},
    {L"Component Categories", ObjectKind::Category},
}};

constexpr std::array<std::wstring_view, 4> approvedList = {L"Microsoft", L"Windows", L"CurrentVersion",
                                                           L"Shell Extensions"};
constexpr std::array<std::wstring_view, 4> explorer = {L"Microsoft", L"Windows", L"CurrentVersion",
                                                       L"Explorer"};
constexpr std::array<std::wstring_view, 2> listsOfExplorer = {L"Browser Helper Objects",
                                                              L"ShellIconOverlayIdentifiers"};

bool IsName(const Names& names, std::size_t index, std::wstring_view name) {
    return index < names.size() && EqualFolded(names[index], name);
}

bool BeginsWith(const Names& names, std::span<const std::wstring_view> front) {
    const auto isSame = [](const std::wstring& name, std::wstring_view wanted) {
        return EqualFolded(name, wanted);
    };
    return names.size() >= front.size() &&
           std::equal(
               front.begin(), front.end(), names.begin(),
               [&](std::wstring_view wanted, const std::wstring& name) { return isSame(name, wanted); });
}

// TARGET\shellex\IconHandler, TARGET\shellex\{interface}, or TARGET\shellex\ContextMenuHandlers\NAME.
std::optional<ObjectPlace> ShellExtensionIn(const Names& names) {
    if (!IsName(names, 1, shellEx) || names.size() < 3) {
        return std::nullopt;
    }
    const std::wstring& handler = names[2];
    const bool hasNames =
        handler.size() >= handlers.size() &&
        EqualFolded(std::wstring_view(handler).substr(handler.size() - handlers.size()), handlers);
    const std::size_t length = hasNames ? 4 : 3;
    return names.size() < length ? std::nullopt
                                 : std::optional(ObjectPlace{ObjectKind::ShellExtension, 0, length});
}

std::optional<ObjectPlace> ObjectInClasses(const RegPlace& place,
                                           const std::function<bool(const RegPlace&)>& isProgId) {
    const Names& names = place.names;
    for (const auto& [list, kind] : listsOfGuids) {
        if (IsName(names, 0, list)) {
            const bool isObject = names.size() > 1 && IsGuidText(names[1]);
            return isObject ? std::optional(ObjectPlace{kind, 1, 2}) : std::nullopt;
        }
    }
    if (IsName(names, 0, L"AppID")) {
        return names.size() > 1 ? std::optional(ObjectPlace{ObjectKind::AppId, 1, 2}) : std::nullopt;
    }
    if (const std::optional<ObjectPlace> extension = ShellExtensionIn(names)) {
        return extension;
    }
    if (names.empty()) {
        return std::nullopt;
    }
    if (names[0].starts_with(L'.')) {
        return ObjectPlace{ObjectKind::Extension, 0, 1};
    }
    return isProgId(place) ? std::optional(ObjectPlace{ObjectKind::ProgId, 0, 1}) : std::nullopt;
}

std::optional<ObjectPlace> ObjectInSoftware(const Names& names) {
    constexpr std::size_t list = explorer.size();
    const bool isListed = BeginsWith(names, explorer) && names.size() > list + 1 &&
                          std::ranges::any_of(listsOfExplorer, [&](std::wstring_view name) {
                              return IsName(names, list, name);
                          });
    return isListed ? std::optional(ObjectPlace{ObjectKind::ShellExtension, list, list + 2}) : std::nullopt;
}

// CurrentControlSet or ControlSet001: three digits.
bool IsControlSet(std::wstring_view name) {
    constexpr std::wstring_view numbered = L"ControlSet";
    return EqualFolded(name, L"CurrentControlSet") ||
           (StartsWithFolded(name, numbered) && name.size() == numbered.size() + 3);
}

// The sources of the event log are keys in a service, but don't belong to it.
std::optional<ObjectPlace> ServiceIn(const RegPlace& place) {
    const Names& names = place.names;
    const bool isService = place.scope.hive == RegHive::LocalMachine && IsName(names, 0, L"SYSTEM") &&
                           names.size() > 3 && IsControlSet(names[1]) && IsName(names, 2, L"Services");
    const bool isEventSource = IsName(names, 3, L"EventLog") && names.size() > 4;
    return isService && !isEventSource ? std::optional(ObjectPlace{ObjectKind::Service, 3, 4}) : std::nullopt;
}

} // namespace

std::optional<ObjectPlace> ObjectAt(const RegPlace& place,
                                    const std::function<bool(const RegPlace&)>& isProgId) {
    if (place.scope.area == RegArea::Classes) {
        return ObjectInClasses(place, isProgId);
    }
    return place.scope.area == RegArea::Software ? ObjectInSoftware(place.names) : ServiceIn(place);
}

std::optional<ShellExtensionFacts> ShellExtensionAt(const RegPlace& place, const ObjectPlace& object) {
    if (object.kind != ObjectKind::ShellExtension) {
        return std::nullopt;
    }
    const Names& names = place.names;
    if (place.scope.area == RegArea::Software) {
        return ShellExtensionFacts{L"", names[object.first], names[object.first + 1], L""};
    }
    return ShellExtensionFacts{names[0], names[2], object.last > 3 ? names[3] : L"", L""};
}

bool IsApprovedList(const RegPlace& place) {
    return place.scope.area == RegArea::Software && BeginsWith(place.names, approvedList) &&
           place.names.size() == approvedList.size() + 1 &&
           IsName(place.names, approvedList.size(), L"Approved");
}

} // namespace keyreap
