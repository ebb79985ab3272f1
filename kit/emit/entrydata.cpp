#include "kit/emit/entrydata.h"

#include "platform/core/text/text.h"
#include "regfile/valuetext.h"
#include "regmodel/straynames.h"

#include <algorithm>

namespace keyreap {

namespace {

bool IsOfType(std::uint32_t type, RegType wanted) {
    return type == static_cast<std::uint32_t>(wanted);
}

bool IsText(std::uint32_t type) {
    return IsOfType(type, RegType::Sz) || IsOfType(type, RegType::ExpandSz);
}

// The units up to the last NULs; none if there are others before them.
std::optional<std::wstring> WholeText(const RegEntry& entry) {
    const std::wstring units = TrimRight(DataUnits(entry.data), std::wstring_view(L"\0", 1));
    return units.find(L'\0') == std::wstring::npos ? std::optional(units) : std::nullopt;
}

std::optional<std::vector<std::wstring>> WholeList(const RegEntry& entry) {
    const std::wstring_view terminator(L"\0", 1);
    std::vector<std::wstring> texts =
        SplitText(TrimRight(DataUnits(entry.data), terminator), terminator, false);
    const bool hasEmpty = std::ranges::any_of(texts, [](const std::wstring& text) { return text.empty(); });
    return hasEmpty ? std::nullopt : std::optional(std::move(texts));
}

// Fills in what belongs to the type.
std::wstring ReasonAgainstData(const RegEntry& entry, PathForms& paths, InstallValue& value) {
    const bool isList = IsOfType(entry.type, RegType::MultiSz);
    if ((IsText(entry.type) || isList) && entry.data.size() % sizeof(char16_t) != 0) {
        return L"is a text that ends within a character";
    }
    if (IsText(entry.type)) {
        const std::optional<std::wstring> text = WholeText(entry);
        if (!text) {
            return L"has data after the end of its text";
        }
        if (NamesTemporaryTree(*text)) {
            return std::wstring(namesTemporaryTree);
        }
        value.text = !value.place.isKey && IsPlaceOfFile(value.place.key, value.place.value)
                         ? paths.ReplacedPlace(*text)
                         : paths.Replaced(*text);
    } else if (isList) {
        const std::optional<std::vector<std::wstring>> list = WholeList(entry);
        if (!list) {
            return L"has an empty text in its list";
        }
        if (std::ranges::any_of(*list, NamesTemporaryTree)) {
            return std::wstring(namesTemporaryTree);
        }
        std::ranges::transform(*list, std::back_inserter(value.list),
                               [&paths](const std::wstring& text) { return paths.Replaced(text); });
    } else if (IsOfType(entry.type, RegType::Dword)) {
        const std::optional<std::uint32_t> number = EntryNumber(entry);
        if (!number) {
            return L"is a number that has not four bytes";
        }
        value.number = *number;
    }
    return {};
}

std::wstring PathLeftInPieces(const PieceText& pieces) {
    const std::wstring path = AbsolutePathLeftIn(pieces);
    return path.empty() ? L"" : L"has a path of the build machine: " + path;
}

} // namespace

std::variant<InstallValue, std::wstring> InstallValueOf(const RegEntry& entry, const EntryPlace& place,
                                                        PathForms& paths) {
    InstallValue value;
    value.place = place;
    value.type = entry.type;
    value.data = entry.data;
    std::wstring reason = ReasonAgainstEntry(entry);
    if (reason.empty()) {
        value.name = paths.Replaced(entry.name);
        reason = ReasonAgainstData(entry, paths, value);
    }
    if (!reason.empty()) {
        return reason;
    }
    return value;
}

std::wstring PathLeftIn(const InstallValue& value, const PathForms& paths) {
    std::wstring left = PathLeftInPieces(value.name);
    const auto add = [&left](const PieceText& pieces) {
        left = left.empty() ? PathLeftInPieces(pieces) : left;
    };
    add(value.text);
    std::ranges::for_each(value.list, add);
    const bool isData = !IsText(value.type) && !IsOfType(value.type, RegType::MultiSz);
    if (left.empty() && isData &&
        (paths.AreIn(value.data) || !AbsolutePathIn(DataUnits(value.data)).empty())) {
        left = L"has a path of the build machine in its bytes";
    }
    return left;
}

} // namespace keyreap
