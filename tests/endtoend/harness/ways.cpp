#include "tests/endtoend/harness/ways.h"

namespace keyreap::endtoend {

namespace {

std::wstring DwordText(int number) {
    constexpr wchar_t digits[] = L"0123456789abcdef";
    std::wstring text;
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += digits[(number >> shift) & 0xF];
    }
    return text;
}

} // namespace

void PrintTo(const Way& way, std::ostream* stream) {
    const std::wstring mode = way.mode;
    *stream << (way.build == Bitness::x64 ? "x64_" : "x86_") << std::string(mode.begin(), mode.end());
}

std::string NameOfWay(const testing::TestParamInfo<Way>& test) {
    return testing::PrintToString(test.param);
}

Bytes DocumentOfValues(const Way& way, int count) {
    constexpr std::size_t digits = 6;
    std::wstring entries = L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapMany]\r\n";
    for (int i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i);
        entries += L"\"" + std::wstring(digits - number.size(), L'0') + number + L"\"=dword:" + DwordText(i) +
                   L"\r\n";
    }
    if (way.IsTraced()) {
        return Document(entries);
    }
    std::wstring body = RedirectedRoots();
    body.insert(body.find(L"\r\n[HKEY_USERS]"), L"\r\n[HKEY_CURRENT_USER\\Software]\r\n" + entries);
    return Document(body);
}

Bytes DocumentOfPlain(const Way& way) {
    return way.IsTraced() ? Document(L"\r\n[HKEY_CLASSES_ROOT\\Keyreap.Plain]\r\n@=\"plain\"\r\n")
                          : Golden("plain.reg");
}

std::wstring LineOf(const Way& way, const std::wstring& file, const std::wstring& regFile) {
    return Quoted(Keyreap(way.build)) + L" extreg " + Pair(file, regFile) + L" " + way.mode;
}

} // namespace keyreap::endtoend
