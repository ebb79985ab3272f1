#pragma once

#include "tests/native/fuzzinput.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Captures as a fuzzer makes them: well-formed files about few objects, so that keys meet.
namespace keyreap::fuzz {

inline constexpr std::array<std::wstring_view, 10> captureRoots = {
    L"HKEY_CLASSES_ROOT",
    L"HKEY_LOCAL_MACHINE\\Software\\Classes",
    L"HKEY_LOCAL_MACHINE\\SOFTWARE\\classes\\Wow6432Node",
    L"HKEY_CURRENT_USER\\Software\\Classes",
    L"HKEY_USERS\\S-1\\Software\\Classes",
    L"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion",
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services",
    L"HKEY_CURRENT_CONFIG",
    L"HKEY_LOCAL_MACHINE",
    L"HKEY_USERS"};

inline constexpr std::array<std::wstring_view, 46> captureNames = {L"CLSID",
                                                                   L"clsid",
                                                                   L"{00000000-0000-0000-0000-00000000000A}",
                                                                   L"{00000000-0000-0000-0000-00000000000a}",
                                                                   L"{00020400-0000-0000-C000-000000000046}",
                                                                   L"{00000000-0000-0000-0000-00000000000B}",
                                                                   L"InprocServer32",
                                                                   L"LocalServer32",
                                                                   L"InprocHandler32",
                                                                   L"ProgID",
                                                                   L"VersionIndependentProgID",
                                                                   L"TypeLib",
                                                                   L"Version",
                                                                   L"AppID",
                                                                   L"TreatAs",
                                                                   L"Implemented Categories",
                                                                   L"Required Categories",
                                                                   L"MiscStatus",
                                                                   L"Control",
                                                                   L"Programmable",
                                                                   L"Interface",
                                                                   L"ProxyStubClsid32",
                                                                   L"NumMethods",
                                                                   L"BaseInterface",
                                                                   L"1.0",
                                                                   L"0",
                                                                   L"win32",
                                                                   L"win64",
                                                                   L"FLAGS",
                                                                   L"HELPDIR",
                                                                   L"Component Categories",
                                                                   L"409",
                                                                   L"Prog.Id",
                                                                   L"Prog.Id.1",
                                                                   L"CurVer",
                                                                   L"shell",
                                                                   L"open",
                                                                   L"command",
                                                                   L"shellex",
                                                                   L"ContextMenuHandlers",
                                                                   L".ext",
                                                                   L"*",
                                                                   L"a.exe",
                                                                   L"Shell Extensions",
                                                                   L"Approved",
                                                                   L"Wow6432Node"};

inline constexpr std::array<std::wstring_view, 28> captureTexts = {L"{00000000-0000-0000-0000-00000000000A}",
                                                                   L"{00000000-0000-0000-0000-00000000000b}",
                                                                   L"Prog.Id.1",
                                                                   L"Prog.Id",
                                                                   L"1.0",
                                                                   L"Both",
                                                                   L"a.dll",
                                                                   L"Z:\\build\\a.dll",
                                                                   L"z:/BUILD/A.dll /x",
                                                                   L"\\\\?\\Z:\\build\\a.dll,-101",
                                                                   L"\"Z:\\build\\a b.exe\" \"%1\"",
                                                                   L"Z:\\build\\a.dll\\2",
                                                                   L"file:///Z:/build/a.dll",
                                                                   L"Z:\\build",
                                                                   L"Z:\\BUILD~1\\A~1.DLL",
                                                                   L"C:\\other\\x",
                                                                   L"$0 [x] {y} #3 & <z> 'q' ; ${a}",
                                                                   L"[~]",
                                                                   L"!(loc.x)",
                                                                   L"%SystemRoot%",
                                                                   L"\r\n",
                                                                   L"=\"\r\n[K]\r\n@=\"",
                                                                   L"\x0001",
                                                                   L"\xD800",
                                                                   L"\xFFFE",
                                                                   L"+",
                                                                   L"*",
                                                                   L""};

template <std::size_t size>
std::wstring_view OneOf(Input& input, const std::array<std::wstring_view, size>& choices) {
    return choices[input.Byte() % size];
}

inline std::wstring CaptureKey(Input& input) {
    std::wstring key(OneOf(input, captureRoots));
    for (std::uint8_t names = input.Byte() % 6; names > 0; --names) {
        key.append(L"\\").append(OneOf(input, captureNames));
    }
    return key;
}

inline std::wstring EscapedText(std::wstring_view text) {
    std::wstring escaped;
    for (const wchar_t unit : text) {
        escaped += unit == L'\\' || unit == L'"' ? std::wstring(L"\\") + unit : std::wstring(1, unit);
    }
    return escaped;
}

inline std::wstring HexPairs(std::wstring_view units, std::size_t terminators) {
    constexpr std::wstring_view digits = L"0123456789abcdef";
    std::wstring pairs;
    for (const wchar_t unit : std::wstring(units) + std::wstring(terminators, L'\0')) {
        for (const int shift : {4, 0, 12, 8}) {
            pairs += digits[(static_cast<std::uint32_t>(unit) >> shift) & 0xF];
            pairs += shift == 0 ? L"," : L"";
        }
        pairs += L',';
    }
    return pairs.substr(0, pairs.empty() ? 0 : pairs.size() - 1);
}

inline std::wstring CaptureData(Input& input) {
    const std::uint8_t form = input.Byte() % 12;
    switch (form) {
    case 0:
        return L"dword:0000000" + std::wstring(1, L"01234567"[input.Byte() % 8]);
    case 1:
        return L"hex(2):" + HexPairs(OneOf(input, captureTexts), 1);
    case 2: {
        const std::wstring first(OneOf(input, captureTexts));
        return L"hex(7):" + HexPairs(first + L'\0' + std::wstring(OneOf(input, captureTexts)), 2);
    }
    case 3:
        return L"hex:" + HexPairs(OneOf(input, captureTexts), 0);
    case 4:
        return L"hex(" + std::wstring(1, L"0123456789abcdef"[input.Byte() % 16]) + L"):00,01";
    case 5:
        return L"-";
    case 6:
        return L"";
    case 7:
        return L"hex(2):,00,00";
    default:
        return L'"' + EscapedText(OneOf(input, captureTexts)) + L'"';
    }
}

inline std::wstring CaptureEntry(Input& input) {
    constexpr std::array<std::wstring_view, 9> names = {
        L"", L"", L"ThreadingModel", L"AppID", L"Version", L"DllSurrogate", L"Type", L"ImagePath", L"Start"};
    const std::uint8_t choice = input.Byte() % 4;
    const std::wstring_view name = choice == 0
                                       ? OneOf(input, captureTexts)
                                       : (choice == 1 ? OneOf(input, captureNames) : OneOf(input, names));
    return (name.empty() ? L"@=" : L'"' + EscapedText(name) + L"\"=") + CaptureData(input) + L"\r\n";
}

// The bytes of a file of up to 12 keys, made of what is left of the input.
inline std::vector<std::uint8_t> CaptureFile(Input& input) {
    std::wstring text = L"Windows Registry Editor Version 5.00\r\n";
    if (input.Byte() % 4 == 0) { // a harvest
        text += L"\r\n[HKEY_CLASSES_ROOT]\r\n";
    }
    for (int keys = 0; keys < 12 && !input.IsEmpty(); ++keys) {
        text.append(L"\r\n[")
            .append(input.Byte() % 8 == 0 ? L"-" : L"")
            .append(CaptureKey(input))
            .append(L"]\r\n");
        for (std::uint8_t entries = input.Byte() % 4; entries > 0; --entries) {
            text += CaptureEntry(input);
        }
    }
    std::vector<std::uint8_t> bytes = {0xFF, 0xFE};
    for (const wchar_t unit : text) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
    }
    return bytes;
}

} // namespace keyreap::fuzz
