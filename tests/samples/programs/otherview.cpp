// A server that also registers itself for the other bitness, with the flag for the other view.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <string_view>

namespace {

constexpr REGSAM otherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;

void WriteText(HKEY root, const wchar_t* path, REGSAM view, const wchar_t* name, const std::wstring& text) {
    HKEY key = nullptr;
    RegCreateKeyExW(root, path, 0, nullptr, 0, KEY_READ | KEY_WRITE | view, nullptr, &key, nullptr);
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
}

void CreateEmpty(HKEY root, const wchar_t* path, REGSAM view) {
    HKEY key = nullptr;
    RegCreateKeyExW(root, path, 0, nullptr, 0, KEY_READ | KEY_WRITE | view, nullptr, &key, nullptr);
    RegCloseKey(key);
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2 || arguments[1] != std::wstring_view(L"/REGSERVER")) {
        return 1;
    }
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\KeyreapOwnView", 0, L"", L"own view");
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\KeyreapOtherView", otherView, L"", L"other view");
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\KeyreapBothViews", otherView, L"in the other", L"other view");
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\KeyreapBothViews", otherView, L"in both", L"other view");
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\KeyreapBothViews", 0, L"in both", L"own view");
    CreateEmpty(HKEY_LOCAL_MACHINE, L"Software\\KeyreapOtherEmpty", otherView);
    WriteText(HKEY_CLASSES_ROOT, L"CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D22}", otherView, L"",
              L"other view");
    // This is one tree for both bitnesses, with and without the flag.
    WriteText(HKEY_CURRENT_USER, L"Software\\KeyreapOtherView", otherView, L"", L"no views here");
    return 0;
}
