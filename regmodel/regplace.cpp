#include "regmodel/regplace.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace keyreap {

namespace {

constexpr std::array<std::pair<std::wstring_view, RegHive>, 5> hives = {{
    {L"HKEY_CLASSES_ROOT", RegHive::ClassesRoot},
    {L"HKEY_CURRENT_USER", RegHive::CurrentUser},
    {L"HKEY_LOCAL_MACHINE", RegHive::LocalMachine},
    {L"HKEY_USERS", RegHive::Users},
    {L"HKEY_CURRENT_CONFIG", RegHive::CurrentConfig},
}};

constexpr std::wstring_view otherView = L"Wow6432Node";
constexpr std::wstring_view classesOfUser = L"_Classes";

// Takes names from the front of a path.
class Names {
public:
    explicit Names(std::wstring_view path) : names(SplitText(path, L"\\", true)) {}

    bool Take(std::wstring_view name) {
        const bool isNext = next < names.size() && EqualFolded(names[next], name);
        next += isNext ? 1 : 0;
        return isNext;
    }

    std::wstring TakeAny() { return next < names.size() ? std::move(names[next++]) : std::wstring(); }

    std::vector<std::wstring> Rest() {
        names.erase(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(next));
        return std::move(names);
    }

private:
    std::vector<std::wstring> names;
    std::size_t next = 0;
};

RegHive TakeHive(Names& names) {
    for (const auto& [name, hive] : hives) {
        if (names.Take(name)) {
            return hive;
        }
    }
    return RegHive::Unknown;
}

void TakeView(Names& names, RegScope& scope) {
    if (names.Take(otherView)) {
        scope.view = RegView::Wow6432;
    }
}

// The classes of a user may be a key of their own beside the user's.
bool TakeUser(Names& names, RegScope& scope) {
    scope.user = FoldedText(names.TakeAny());
    const std::wstring ending = FoldedText(std::wstring(classesOfUser));
    const bool isClasses = scope.user.ends_with(ending);
    scope.user.resize(scope.user.size() - (isClasses ? ending.size() : 0));
    return isClasses;
}

} // namespace

RegPlace PlaceOf(std::wstring_view keyPath) {
    RegPlace place;
    RegScope& scope = place.scope;
    Names names(keyPath);
    scope.hive = TakeHive(names);
    bool isClasses = scope.hive == RegHive::ClassesRoot;
    if (scope.hive == RegHive::Users) {
        isClasses = TakeUser(names, scope);
    }
    if (scope.hive != RegHive::Unknown && !isClasses && names.Take(L"Software")) {
        scope.area = RegArea::Software;
        TakeView(names, scope);
        isClasses = names.Take(L"Classes");
    }
    if (isClasses) {
        scope.area = RegArea::Classes;
        TakeView(names, scope);
    }
    place.names = names.Rest();
    return place;
}

bool IsGuidText(std::wstring_view text) {
    constexpr std::wstring_view form = L"{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
    const auto fits = [](wchar_t unit, wchar_t wanted) {
        const wchar_t folded = FoldLetter(unit);
        const bool isDigit = (folded >= L'0' && folded <= L'9') || (folded >= L'a' && folded <= L'f');
        return wanted == L'x' ? isDigit : unit == wanted;
    };
    return std::ranges::equal(text, form, fits);
}

} // namespace keyreap
