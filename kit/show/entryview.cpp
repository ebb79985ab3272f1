#include "kit/show/entryview.h"

#include "platform/core/text/text.h"
#include "regfile/valuetext.h"

#include <algorithm>
#include <array>
#include <span>

namespace keyreap {

namespace {

// What is shown of long data, in bytes.
constexpr std::size_t mostText = 16384;
constexpr std::size_t mostBytes = 2048;

constexpr std::array<std::wstring_view, 12> typeNames = {L"REG_NONE",
                                                         L"REG_SZ",
                                                         L"REG_EXPAND_SZ",
                                                         L"REG_BINARY",
                                                         L"REG_DWORD",
                                                         L"REG_DWORD_BIG_ENDIAN",
                                                         L"REG_LINK",
                                                         L"REG_MULTI_SZ",
                                                         L"REG_RESOURCE_LIST",
                                                         L"REG_FULL_RESOURCE_DESCRIPTOR",
                                                         L"REG_RESOURCE_REQUIREMENTS_LIST",
                                                         L"REG_QWORD"};

std::wstring TypeName(std::uint32_t type) {
    return type < typeNames.size() ? std::wstring(typeNames[type]) : L"type " + std::to_wstring(type);
}

std::wstring Digits(std::span<const std::uint8_t> bytes, std::wstring_view separator) {
    constexpr std::wstring_view digits = L"0123456789abcdef";
    std::wstring text;
    for (const std::uint8_t byte : bytes) {
        text.append(text.empty() ? L"" : separator);
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

// The number of little-endian bytes, as regedit shows it.
std::wstring NumberText(const std::vector<std::uint8_t>& data) {
    std::uint64_t number = 0;
    for (std::size_t i = data.size(); i > 0; --i) {
        number = number << 8 | data[i - 1];
    }
    std::vector<std::uint8_t> bytes(data.rbegin(), data.rend());
    return L"0x" + Digits(bytes, L"") + L" (" + std::to_wstring(number) + L')';
}

// Units after a NUL stay, so that nothing is hidden.
std::wstring WithoutTerminator(std::wstring units) {
    if (units.ends_with(L'\0')) {
        units.pop_back();
    }
    return units;
}

void SetText(EntryView& view, const std::vector<std::uint8_t>& data, bool isList) {
    const std::size_t size = std::min(data.size(), mostText);
    view.left = data.size() - size;
    std::wstring units = DataUnits({data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size)});
    if (view.left == 0) {
        units = WithoutTerminator(std::move(units));
    }
    if (!isList) {
        view.texts.push_back(std::move(units));
        return;
    }
    view.texts = SplitText(WithoutTerminator(std::move(units)), std::wstring_view(L"\0", 1), false);
}

void SetBytes(EntryView& view, const std::vector<std::uint8_t>& data) {
    const std::size_t size = std::min(data.size(), mostBytes);
    view.left = data.size() - size;
    view.texts.push_back(Digits(std::span(data).first(size), L" "));
}

void SetData(EntryView& view, const RegEntry& entry) {
    const auto type = static_cast<RegType>(entry.type);
    const bool isNumber = (type == RegType::Dword && entry.data.size() == sizeof(std::uint32_t)) ||
                          (type == RegType::Qword && entry.data.size() == sizeof(std::uint64_t));
    if (isNumber) {
        view.texts.push_back(NumberText(entry.data));
    } else if (type == RegType::Sz || type == RegType::ExpandSz) {
        SetText(view, entry.data, false);
    } else if (type == RegType::MultiSz) {
        SetText(view, entry.data, true);
    } else {
        SetBytes(view, entry.data);
    }
}

std::wstring RemarkOn(const RegEntry& entry) {
    switch (entry.kind) {
    case RegEntryKind::Deletion:
        return L"deletes the value";
    case RegEntryKind::Damaged:
        return L"damaged: expected " + ExpectedInstead(entry);
    case RegEntryKind::OtherText:
        return L"the text of another value";
    default:
        return IsFiller(entry) ? L"the data could not be read back" : L"";
    }
}

} // namespace

EntryView ViewOf(const RegEntry& entry) {
    EntryView view;
    view.remark = RemarkOn(entry);
    if (entry.kind == RegEntryKind::OtherText) {
        view.type = TypeName(static_cast<std::uint32_t>(RegType::Qword));
        SetText(view, UnitData(entry.otherText), false);
    } else if (entry.kind != RegEntryKind::Deletion) {
        view.type = TypeName(entry.type);
        SetData(view, entry);
    }
    return view;
}

} // namespace keyreap
