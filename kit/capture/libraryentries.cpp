#include "kit/capture/libraryentries.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "regmodel/regplace.h"

#include <algorithm>
#include <array>
#include <string>
#include <variant>
#include <vector>

namespace keyreap {

namespace {

struct LibraryPlace {
    std::wstring_view path;  // below Software, in any hive
    std::wstring_view value; // empty: all values, and the keys below
    std::wstring_view writer;
};

constexpr std::wstring_view shell = L"the shell's library writes for every program that asks for a folder";
constexpr std::wstring_view profiles = L"the library of profiles writes";
constexpr std::wstring_view cryptography = L"the library of cryptography writes";

constexpr std::array<LibraryPlace, 5> libraryPlaces = {{
    {L"Microsoft\\Windows NT\\CurrentVersion\\ProfileList", L"", profiles},
    {L"Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders", L"", shell},
    {L"Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", L"", shell},
    {L"Microsoft\\Cryptography", L"MachineGuid", cryptography},
    {L"Wine\\Fonts", L"", L"Wine writes"},
}};

// What the run-time library of Visual Basic 6 registers beside each of its servers.
constexpr std::wstring_view basic = L"the run-time library of Visual Basic 6 writes beside each server";
constexpr std::wstring_view basicsClass = L"{D5DE8D20-5BB8-11D1-A1E3-00A0C90F2731}";
constexpr std::array<std::wstring_view, 2> basicsTypeLibs = {L"{EA544A21-C82D-11D1-A3E4-00A0C90AEA82}",
                                                             L"{000204EF-0000-0000-C000-000000000046}"};

bool IsBasicsTypeLib(std::wstring_view id) {
    return std::ranges::any_of(basicsTypeLibs,
                               [id](std::wstring_view library) { return EqualFolded(id, library); });
}

bool IsOfBasic(const RegObject& object) {
    switch (object.identity.kind) {
    case ObjectKind::Class:
        return EqualFolded(object.id, basicsClass);
    case ObjectKind::TypeLib:
        return IsBasicsTypeLib(object.id);
    case ObjectKind::Interface:
        return IsBasicsTypeLib(std::get<InterfaceFacts>(object.facts).typeLib);
    default:
        return false;
    }
}

bool IsAtOrBelow(const std::vector<std::wstring>& names, std::wstring_view path, bool mayBeBelow) {
    const std::vector<std::wstring> wanted = SplitText(path, L"\\", true);
    const bool fits = mayBeBelow ? names.size() >= wanted.size() : names.size() == wanted.size();
    return fits && std::equal(wanted.begin(), wanted.end(), names.begin(),
                              [](const auto& left, const auto& right) { return EqualFolded(left, right); });
}

} // namespace

std::wstring_view LibraryThatWrites(std::wstring_view keyPath, std::wstring_view valueName) {
    const RegPlace key = PlaceOf(keyPath);
    const auto fits = [&](const LibraryPlace& library) {
        return key.scope.area == RegArea::Software &&
               IsAtOrBelow(key.names, library.path, library.value.empty()) &&
               (library.value.empty() || EqualFolded(library.value, valueName));
    };
    const auto* const found = std::ranges::find_if(libraryPlaces, fits);
    return found == libraryPlaces.end() ? std::wstring_view() : found->writer;
}

std::wstring_view LibraryThatWrites(const RegObject& object) {
    return IsOfBasic(object) ? basic : std::wstring_view();
}

} // namespace keyreap
