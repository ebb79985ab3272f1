// Writes keys of many shapes: deep, wide, empty, with odd names, with and without a default value.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::samples {

namespace {

constexpr const wchar_t* oddNames[] = {
    L"[brackets]", L"]half[",   L"\"quoted\"", L"with = and ;", L"-leading minus",   L"Upper Case",
    L"%variable%", L"for/ward", L"\u00c4rger", L"\xD83D\xDE00", L"\xD83D high half", L"\xDE00 low half",
};

void WriteDeep(HKEY parent) {
    constexpr int depth = 100;
    std::wstring path = L"Deep";
    for (int level = 0; level < depth; ++level) {
        path += L"\\level";
    }
    KeyWriter(parent, path).SetText(L"", L"bottom");
}

void WriteWide(HKEY parent) {
    constexpr int width = 300;
    const KeyWriter wide(parent, L"Wide");
    for (int i = width; i-- > 0;) {
        KeyWriter(wide.Handle(), std::to_wstring(i)).SetDword(L"", static_cast<DWORD>(i));
    }
}

void WriteManyValues(HKEY parent) {
    constexpr int count = 300;
    const KeyWriter many(parent, L"Values");
    for (int i = count; i-- > 0;) {
        many.SetDword(std::to_wstring(i), static_cast<DWORD>(i));
    }
}

void WriteDefaults(HKEY parent) {
    KeyWriter(parent, L"Default\\unset").SetText(L"other", L"set");
    KeyWriter(parent, L"Default\\set").SetText(L"", L"set");
    KeyWriter(parent, L"Default\\empty").SetText(L"", L"");
    KeyWriter(parent, L"Default\\number").SetDword(L"", 1);
    KeyWriter(parent, L"Default\\none").Set(L"", REG_NONE, {});
}

// A capture has the values before the first subkey, although the subkey was written first.
void WriteMixed(HKEY parent) {
    KeyWriter(parent, L"Mixed\\a child").SetText(L"", L"child");
    KeyWriter(parent, L"Mixed").SetText(L"z value", L"value");
}

} // namespace

} // namespace keyreap::samples

STDAPI DllRegisterServer() {
    using namespace keyreap::samples;
    const KeyWriter key(HKEY_CLASSES_ROOT, L"Keyreap.Keys");
    for (const wchar_t* name : oddNames) {
        KeyWriter(key.Handle(), L"Odd").SetDword(L"", 1);
        const KeyWriter odd(key.Handle(), std::wstring(L"Odd\\") + name);
        odd.SetText(L"", L"x");
    }
    const std::wstring longest(255, L'k');
    KeyWriter(key.Handle(), longest + L"\\" + longest).SetText(L"", L"longest");
    KeyWriter(key.Handle(), L"Empty");
    WriteDeep(key.Handle());
    WriteWide(key.Handle());
    WriteManyValues(key.Handle());
    WriteDefaults(key.Handle());
    WriteMixed(key.Handle());
    return S_OK;
}
