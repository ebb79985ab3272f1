#include "kit/capture/capture.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "regfile/valuetext.h"
#include "regmodel/regplace.h"
#include "regmodel/straynames.h"

#include <algorithm>
#include <array>

namespace keyreap {

std::wstring NameOfEntry(const EntryPlace& place) {
    if (place.key.empty() || place.isKey) {
        return place.key;
    }
    return place.key + (place.value.empty() ? L", default value" : L", value \"" + place.value + L'"');
}

std::wstring ReasonAgainstKey(std::wstring_view keyPath) {
    switch (StrayNameOf(keyPath)) {
    case StrayName::TemporaryTree:
        return L"is a key of the temporary tree of the capture";
    case StrayName::NoRoot:
        return L"is a key of an account whose registry the capture doesn't know";
    default:
        return {};
    }
}

std::wstring ReasonAgainstEntry(const RegEntry& entry) {
    if (entry.kind == RegEntryKind::Deletion) {
        return L"is a deletion";
    }
    if (entry.kind == RegEntryKind::OtherText) {
        return L"has another value's text in the place of its data";
    }
    if (entry.damage == RegDamage::NoData) {
        return L"has no data";
    }
    if (IsFiller(entry)) {
        return L"could not be read when it was captured";
    }
    return {};
}

std::vector<std::wstring> TextsOf(const RegEntry& entry) {
    if (const std::optional<std::wstring> text = EntryText(entry)) {
        return {*text};
    }
    const bool isList = entry.type == static_cast<std::uint32_t>(RegType::MultiSz);
    return isList ? SplitText(DataUnits(entry.data), std::wstring_view(L"\0", 1), true)
                  : std::vector<std::wstring>();
}

bool HasValue(const RegDocument& document) {
    const auto isValue = [](const RegEntry& entry) { return entry.kind != RegEntryKind::Deletion; };
    return std::ranges::any_of(document.sections, [&isValue](const RegSection& section) {
        return !section.isDeletion && std::ranges::any_of(section.entries, isValue);
    });
}

bool IsPlaceOfFile(std::wstring_view keyPath, std::wstring_view valueName) {
    constexpr std::array<std::wstring_view, 9> keys = {
        L"InprocServer32", L"InprocHandler32", L"LocalServer32", L"InprocServer", L"LocalServer",
        L"DefaultIcon",    L"ToolboxBitmap32", L"win32",         L"win64",
    };
    const std::wstring_view name = keyPath.substr(keyPath.rfind(L'\\') + 1);
    return valueName.empty() &&
           std::ranges::any_of(keys, [name](std::wstring_view key) { return EqualFolded(name, key); });
}

bool IsOfSystem(std::wstring_view guid) {
    constexpr std::wstring_view ending = L"-0000-0000-c000-000000000046}";
    // Insertable, Control and Programmable (comcat.h), safe for scripting and for initialising (objsafe.h).
    constexpr std::array<std::wstring_view, 5> categories = {
        L"{40FC6ED3-2438-11CF-A3DB-080036F12502}", L"{40FC6ED4-2438-11CF-A3DB-080036F12502}",
        L"{40FC6ED5-2438-11CF-A3DB-080036F12502}", L"{7DD95801-9882-11CF-9FA9-00AA006C42C4}",
        L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}"};
    const auto isSame = [guid](std::wstring_view category) { return EqualFolded(guid, category); };
    return IsGuidText(guid) &&
           (FoldedText(std::wstring(guid)).ends_with(ending) || std::ranges::any_of(categories, isSame));
}

} // namespace keyreap
