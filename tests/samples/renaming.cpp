// Renames keys. It made three of them: one has a key below it and is written to through the handles of both
// afterwards, one is left alone, and one has no values. A fourth may have been there before.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace {

bool Rename(HKEY key, const wchar_t* name) {
    return RegRenameKey(key, nullptr, name) == ERROR_SUCCESS;
}

void RenameWhatIsThere(HKEY parent) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, L"There before", 0, KEY_ALL_ACCESS, &key) == ERROR_SUCCESS) {
        Rename(key, L"There afterwards");
        RegCloseKey(key);
    }
}

} // namespace

STDAPI DllRegisterServer() {
    using keyreap::samples::KeyWriter;
    const KeyWriter parent(HKEY_CURRENT_USER, L"Software\\KeyreapRenaming");
    const KeyWriter renamed(parent.Handle(), L"Old");
    const KeyWriter below(renamed.Handle(), L"Below");
    const KeyWriter leftAlone(parent.Handle(), L"Old, left alone");
    const KeyWriter empty(parent.Handle(), L"Old, empty");
    for (const KeyWriter* key : {&renamed, &below, &leftAlone}) {
        key->SetText(L"before", L"set before the renaming");
    }
    const bool done = Rename(renamed.Handle(), L"New") && Rename(leftAlone.Handle(), L"New, left alone") &&
                      Rename(empty.Handle(), L"New, empty");
    for (const KeyWriter* key : {&renamed, &below}) {
        key->SetText(L"after", L"set after the renaming");
    }
    parent.SetDword(L"renamed", done ? 1 : 0);
    RenameWhatIsThere(parent.Handle());
    return S_OK;
}
