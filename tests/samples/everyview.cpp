// Writes to the classes with and without the flags for views of the registry, looks for its keys with other
// flags, and deletes with them. Redirected classes are the same in all views.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace {

using keyreap::samples::KeyWriter;

constexpr wchar_t progId[] = L"Keyreap.EveryView";
constexpr REGSAM ownView = sizeof(void*) == 8 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;
constexpr REGSAM otherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;

std::wstring Below(const wchar_t* name) {
    return std::wstring(progId) + L'\\' + name;
}

void Write(const std::wstring& path, REGSAM view, const wchar_t* text) {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE | view, nullptr, &key, nullptr);
    KeyWriter(key, L"").SetText(L"", text); // closes the key
}

// Whether the key exists, as a text.
const wchar_t* TextOfSearch(const std::wstring& path, REGSAM view) {
    HKEY key = nullptr;
    const bool found =
        RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ | view, &key) == ERROR_SUCCESS;
    RegCloseKey(key);
    return found ? L"found" : L"not found";
}

} // namespace

STDAPI DllRegisterServer() {
    Write(Below(L"Without a view"), 0, L"without");
    Write(Below(L"By the own view"), ownView, L"own");
    Write(Below(L"By the other view"), otherView, L"other");
    Write(Below(L"By all views"), ownView, L"own");
    Write(Below(L"By all views"), otherView, L"other");
    Write(Below(L"By all views"), 0, L"last");
    const std::wstring deleted = Below(L"Deleted by the other view");
    KeyWriter(HKEY_CLASSES_ROOT, deleted);
    RegDeleteKeyExW(HKEY_CLASSES_ROOT, deleted.c_str(), otherView, 0);

    const KeyWriter seen(HKEY_CLASSES_ROOT, progId);
    seen.SetText(L"by the other view, from the own", TextOfSearch(Below(L"By the other view"), ownView));
    seen.SetText(L"by the other view, without a view", TextOfSearch(Below(L"By the other view"), 0));
    seen.SetText(L"without a view, from the other", TextOfSearch(Below(L"Without a view"), otherView));
    seen.SetText(L"live classes from the other view", TextOfSearch(L"CLSID", otherView));
    return S_OK;
}
