#include "kit/manifest/flagwords.h"
#include "kit/manifest/manifestparts.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace keyreap {

namespace {

struct KeyReason {
    std::wstring_view key;
    std::wstring_view reason;
};

constexpr std::wstring_view noPlace = L"has no place in a manifest";
constexpr std::wstring_view isProgram = L"names a program, which no manifest can have";
constexpr std::wstring_view isHandler = L"names a handler, which no manifest can have";
constexpr std::wstring_view isCategory = L"is a category of a class, which no manifest can have";
constexpr std::wstring_view isOthersProgId = L"is the ProgID of another class";

constexpr std::array<KeyReason, 9> ofClass = {{
    {L"LocalServer32", isProgram},
    {L"LocalServer", isProgram},
    {L"InprocHandler32", isHandler},
    {L"InprocHandler", isHandler},
    {L"Implemented Categories", isCategory},
    {L"Required Categories", isCategory},
    {L"ProgID", isOthersProgId},
    {L"VersionIndependentProgID", isOthersProgId},
    {L"MiscStatus", L"has a bit for which manifests have no word"},
}};

// True for the number of an aspect that differs from the general one by being 0.
bool IsZeroOfAspect(const ObjectEntries::Entry& entry) {
    const bool isAspect = entry.key.size() == 2 && entry.value && IsLiteral(entry.value->text);
    return isAspect && EqualFolded(entry.key[0], L"MiscStatus") &&
           MiscStatusWords(TextOfPieces(entry.value->text, [](const Piece& piece) { return piece.text; })) ==
               L"";
}

std::wstring_view ReasonOfClass(const ObjectEntries::Entry& entry) {
    if (IsZeroOfAspect(entry)) {
        return L"is 0 for an aspect, to which a manifest without words for it gives the bits of the class";
    }
    if (entry.key.empty() && EqualFolded(entry.name, L"AppID")) {
        return L"names an AppID, which no manifest can have";
    }
    if (!entry.key.empty() && EqualFolded(entry.key[0], L"Version")) {
        return L"is the version of a type library that the manifest doesn't have";
    }
    const auto* const known = std::ranges::find_if(ofClass, [&entry](const KeyReason& one) {
        return !entry.key.empty() && EqualFolded(entry.key[0], one.key);
    });
    return known == ofClass.end() ? noPlace : known->reason;
}

std::wstring_view ReasonOfLibrary(const ObjectEntries::Entry& entry) {
    if (entry.key.size() == 2 && EqualFolded(entry.key[1], L"HELPDIR")) {
        return L"is a folder outside that of the server";
    }
    if (entry.key.size() == 2 && EqualFolded(entry.key[1], L"FLAGS")) {
        return L"has a bit for which manifests have no word";
    }
    return L"is another version, language or platform of a type library, of which a manifest can have one";
}

std::wstring_view ReasonOfInterface(const ObjectEntries::Entry& entry) {
    const bool isVersion =
        entry.key.size() == 1 && EqualFolded(entry.key[0], L"TypeLib") && EqualFolded(entry.name, L"Version");
    return isVersion ? L"is the version of a type library that the manifest doesn't have" : noPlace;
}

std::wstring_view ReasonOfProgId(const ObjectEntries::Entry& entry) {
    return entry.key.empty() && entry.name.empty()
               ? L"differs from the name of the class, which is the only one that a manifest has"
               : noPlace;
}

} // namespace

std::wstring ReasonAgainstEntry(ObjectKind kind, const ObjectEntries::Entry& entry) {
    switch (kind) {
    case ObjectKind::Class:
        return std::wstring(ReasonOfClass(entry));
    case ObjectKind::TypeLib:
        return std::wstring(ReasonOfLibrary(entry));
    case ObjectKind::Interface:
        return std::wstring(ReasonOfInterface(entry));
    default:
        return std::wstring(ReasonOfProgId(entry));
    }
}

} // namespace keyreap
