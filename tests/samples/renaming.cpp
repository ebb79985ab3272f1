// Renames keys. It creates three of them: one that has a subkey, which are both written to through their
// handles afterwards; one that is not written to afterwards; and one without values. A test may have created
// a fourth.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace {

bool Rename(HKEY key, const wchar_t* name) {
    return RegRenameKey(key, nullptr, name) == ERROR_SUCCESS;
}

void RenameEarlierKey(HKEY parent) {
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
    RenameEarlierKey(parent.Handle());
    return S_OK;
}
