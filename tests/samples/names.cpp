// Writes value names that are hard to represent. A name that is too long ends the reading of its key, so each
// long name has a key of its own.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::samples {

namespace {

constexpr const wchar_t* oddNames[] = {
    L" ",
    L"\"",
    L"\"first only",
    L"\"first and again\"",
    L"@",
    L"[brackets]",
    L"\\",
    L"\\first only",
    L"\\first\\and again",
    L"a\"b",
    L"C:\\a\\b.dll",
    L"CR LF\r\n",
    L"equals=sign",
    L"semicolon;",
    L"Upper Case",
    L"\u00c4rger",
    L"\xD83D\xDE00",
    L"\xD83D high half",
    L"\xDE00 low half",
};

// A long name between two short ones, and a subkey.
void WriteLongName(HKEY parent, const wchar_t* keyName, std::size_t length) {
    const KeyWriter key(parent, keyName);
    key.SetText(L"a", L"in front");
    key.SetText(std::wstring(length, L'n'), L"long");
    key.SetText(L"z", L"behind");
    KeyWriter(key.Handle(), L"Child").SetText(L"", L"below");
}

// Both the name and its data are too long for the first reading.
void WriteLongNameAndData(HKEY parent, const wchar_t* keyName, std::size_t length) {
    KeyWriter(parent, keyName).SetText(std::wstring(length, L'n'), std::wstring(1000, L'd'));
}

} // namespace

} // namespace keyreap::samples

STDAPI DllRegisterServer() {
    using namespace keyreap::samples;
    const KeyWriter key(HKEY_CLASSES_ROOT, L"Keyreap.Names");
    {
        const KeyWriter odd(key.Handle(), L"Odd");
        for (const wchar_t* name : oddNames) {
            odd.SetText(name, L"x");
        }
    }
    WriteLongName(key.Handle(), L"259", 259);
    WriteLongName(key.Handle(), L"260", 260);
    WriteLongName(key.Handle(), L"261", 261);
    WriteLongName(key.Handle(), L"16383", 16383);
    WriteLongNameAndData(key.Handle(), L"259 and data", 259);
    WriteLongNameAndData(key.Handle(), L"260 and data", 260);
    return S_OK;
}
