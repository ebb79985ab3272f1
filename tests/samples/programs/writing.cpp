// A server in a process of its own. With /REGSERVER it does what servers do to the live registry: it writes
// to four roots, creates keys and values and deletes them again, and changes and deletes earlier ones.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <string_view>

namespace keyreap::samples {

namespace {

constexpr wchar_t ownKey[] = L"Software\\KeyreapWriting";
constexpr wchar_t classId[] = L"CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D21}";

void DeleteKey(HKEY parent, const wchar_t* name) {
    RegDeleteKeyW(parent, name);
}

void DeleteValue(const KeyWriter& key, const wchar_t* name) {
    RegDeleteValueW(key.Handle(), name);
}

void WriteMachine() {
    const KeyWriter key(HKEY_LOCAL_MACHINE, ownKey);
    key.SetText(L"", L"machine");
    key.SetDword(L"number", 7);
    key.Set(L"long number", REG_QWORD, {1, 2, 3, 4, 5, 6, 7, 8});
    key.Set(L"bytes", REG_BINARY, {0xDE, 0xAD});
    key.SetUnits(L"expand", REG_EXPAND_SZ, std::wstring_view(L"%SystemRoot%\\x\0", 15));
    key.SetUnits(L"list", REG_MULTI_SZ, std::wstring_view(L"a\0b\0\0", 5));
    KeyWriter(key.Handle(), L"Empty");
    KeyWriter(key.Handle(), L"Only implied\\Leaf").SetText(L"B", L"first in the file");
    KeyWriter(key.Handle(), L"Only implied\\Leaf").SetText(L"a", L"second in the file");
}

void CreateAndDelete() {
    const KeyWriter key(HKEY_LOCAL_MACHINE, ownKey);
    KeyWriter(key.Handle(), L"Made and removed").SetText(L"", L"gone");
    DeleteKey(key.Handle(), L"Made and removed");
    KeyWriter(key.Handle(), L"Made and removed without a value");
    DeleteKey(key.Handle(), L"Made and removed without a value");
    const KeyWriter kept(key.Handle(), L"Its value was removed");
    kept.SetText(L"value", L"gone");
    DeleteValue(kept, L"value");
}

// Keys and values that a test may have created before.
void ChangeEarlierEntries() {
    const KeyWriter key(HKEY_CURRENT_USER, ownKey);
    key.SetText(L"overwritten", L"after");
    DeleteValue(key, L"deleted");
    DeleteKey(key.Handle(), L"Deleted");
    DeleteValue(KeyWriter(key.Handle(), L"Value deleted"), L"deleted");
    KeyWriter(key.Handle(), L"Parent\\New child").SetText(L"", L"new");
    KeyWriter(key.Handle(), L"Only opened");
}

void WriteClasses() {
    const KeyWriter progId(HKEY_CLASSES_ROOT, L"Keyreap.Writing");
    progId.SetText(L"", L"Writing Class");
    const KeyWriter server(HKEY_CLASSES_ROOT, std::wstring(classId) + L"\\LocalServer32");
    server.SetText(L"", ModulePathOf(reinterpret_cast<const void*>(&WriteClasses)));
}

} // namespace

} // namespace keyreap::samples

int wmain(int count, wchar_t** arguments) {
    using namespace keyreap::samples;
    if (count != 2 || arguments[1] != std::wstring_view(L"/REGSERVER")) {
        return 1;
    }
    WriteMachine();
    CreateAndDelete();
    ChangeEarlierEntries();
    WriteClasses();
    KeyWriter(HKEY_USERS, L".DEFAULT\\Software\\KeyreapWriting").SetText(L"", L"every user's");
    return 0;
}
