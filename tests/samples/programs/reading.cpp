// A program that ignores all switches: it reads the registry, as any program does, and ends.
#include <windows.h>

namespace {

// Reads the key and tries changes that must fail.
void ReadKey(HKEY root, const wchar_t* path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return;
    }
    wchar_t name[MAX_PATH] = {};
    DWORD length = MAX_PATH;
    RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
    length = MAX_PATH;
    RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
    RegQueryValueExW(key, name, nullptr, nullptr, nullptr, nullptr);
    RegQueryValueExW(key, L"no such value", nullptr, nullptr, nullptr, nullptr);
    RegSetValueExW(key, L"without the right to", 0, REG_SZ, nullptr, 0);
    RegDeleteValueW(key, L"no such value");
    RegDeleteKeyW(key, L"no such key");
    RegCloseKey(key);
}

} // namespace

int wmain() {
    ReadKey(HKEY_CURRENT_USER, L"Environment");
    ReadKey(HKEY_CURRENT_USER, L"Control Panel\\International");
    ReadKey(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion");
    ReadKey(HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Control\\TimeZoneInformation");
    ReadKey(HKEY_LOCAL_MACHINE, L"Software\\no such key");
    ReadKey(HKEY_CLASSES_ROOT, L"CLSID");
    return 0;
}
