#include "regmodel/regspelling.h"

#include "regfile/pathsubstitution.h"
#include "regfile/regtext.h"

namespace keyreap {

namespace {

std::wstring Quoted(std::wstring_view text) {
    return std::wstring(L"\"").append(text).append(L"\"");
}

std::wstring Escaped(std::wstring_view text, const RegStyle& style) {
    std::wstring escaped = EscapeRegTextStrict(text);
    if (style.hasLineEscapes) {
        ReplaceAll(escaped, L"\r", L"\\r");
        ReplaceAll(escaped, L"\n", L"\\n");
    }
    return escaped;
}

} // namespace

std::wstring LeftSide(const RegEntry& entry, const RegStyle& style) {
    if (entry.name.empty()) {
        return L"@=";
    }
    return Quoted(entry.hasLoneName ? entry.name : Escaped(entry.name, style)) + L'=';
}

std::wstring TextSide(const RegEntry& entry, const RegStyle& style) {
    std::wstring units = DataUnits(entry.data);
    if (units.ends_with(L'\0')) {
        units.pop_back();
    }
    return Quoted(entry.damage == RegDamage::LoneEscape ? units : Escaped(units, style));
}

} // namespace keyreap
