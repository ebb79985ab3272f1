#include "regmodel/regentry.h"

#include "regfile/valuetext.h"

namespace keyreap {

namespace {

bool HasType(const RegEntry& entry, RegType type) {
    return entry.type == static_cast<std::uint32_t>(type);
}

std::wstring ExpectedValue(RegDamage damage) {
    switch (damage) {
    case RegDamage::NoData:
        return L"a value after the equals sign";
    case RegDamage::LoneEscape:
        return L"a backslash before the text's first character";
    case RegDamage::LeadingComma:
        return L"no comma after the colon";
    default:
        return L"";
    }
}

} // namespace

std::optional<std::wstring> EntryText(const RegEntry& entry) {
    if (!HasType(entry, RegType::Sz) && !HasType(entry, RegType::ExpandSz)) {
        return std::nullopt;
    }
    const std::wstring units = DataUnits(entry.data);
    return units.substr(0, units.find(L'\0'));
}

std::optional<std::uint32_t> EntryNumber(const RegEntry& entry) {
    if (!HasType(entry, RegType::Dword) || entry.data.size() != sizeof(std::uint32_t)) {
        return std::nullopt;
    }
    std::uint32_t number = 0;
    for (std::size_t i = sizeof number; i > 0; --i) {
        number = number << 8 | entry.data[i - 1];
    }
    return number;
}

std::wstring ExpectedInstead(const RegEntry& entry) {
    if (entry.kind != RegEntryKind::Damaged) {
        return L"";
    }
    std::wstring expected = ExpectedValue(entry.damage);
    if (entry.hasLoneName) {
        expected.insert(0, expected.empty() ? L"" : L", and ");
        expected.insert(0, L"a backslash before the name's first character");
    }
    return expected;
}

bool IsFiller(const RegEntry& entry) {
    constexpr std::size_t length = 10;
    constexpr wchar_t unit = 0x5555;
    return entry.form == RegForm::Text && HasType(entry, RegType::Sz) &&
           DataUnits(entry.data) == std::wstring(length, unit) + L'\0';
}

std::vector<std::uint8_t> UnitData(std::wstring_view units) {
    std::vector<std::uint8_t> data;
    data.reserve(2 * units.size());
    for (const wchar_t unit : units) {
        data.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        data.push_back(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
    }
    return data;
}

std::wstring DataUnits(const std::vector<std::uint8_t>& data) {
    std::wstring units(data.size() / 2, L'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        units[i] = static_cast<wchar_t>(data[2 * i] | (data[2 * i + 1] << 8));
    }
    return units;
}

} // namespace keyreap
