// Writes keys and values whose names contain every UTF-16 unit from 1 to 0xFFFF: 256 names, each of its
// number and 256 units.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace {

constexpr unsigned names = 256;
constexpr unsigned unitsOfAName = 256;
constexpr unsigned longestKeyName = 255;

// The units of one name, without those that no name can contain: the NUL and the separator of keys.
std::wstring UnitsOf(unsigned number) {
    std::wstring units;
    for (unsigned unit = number * unitsOfAName; unit < (number + 1) * unitsOfAName; ++unit) {
        if (unit != 0 && unit != L'\\') {
            units += static_cast<wchar_t>(unit);
        }
    }
    return units;
}

std::wstring NumberOf(unsigned number) {
    constexpr wchar_t digits[] = L"0123456789abcdef";
    return {digits[number / 16], digits[number % 16]};
}

} // namespace

STDAPI DllRegisterServer() {
    using keyreap::samples::KeyWriter;
    const KeyWriter key(HKEY_CURRENT_USER, L"Software\\KeyreapEveryUnit");
    for (unsigned i = 0; i < names; ++i) {
        const std::wstring units = UnitsOf(i);
        key.SetDword(NumberOf(i) + units + (i == 0 ? L"\\" : L""), i);
        // Names of keys are shorter, so two keys have half of the units each.
        const std::wstring halves[] = {NumberOf(i) + L"a" + units.substr(0, unitsOfAName / 2),
                                       NumberOf(i) + L"b" + units.substr(unitsOfAName / 2)};
        for (const std::wstring& half : halves) {
            static_assert(unitsOfAName / 2 + 3 <= longestKeyName);
            KeyWriter(key.Handle(), half).SetDword(L"", i);
        }
    }
    return S_OK;
}
