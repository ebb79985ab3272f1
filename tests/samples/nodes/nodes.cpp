// A server that registers under plain names and below keys called Wow6432Node, mostly without flags for
// views. It is built in four variants: plain names first, nodes first (KEYREAP_NODES_FIRST), one of each in
// the current user's keys (KEYREAP_NODES_OF_USER), and nodes first where the plain names are those of the
// 32-bit view (KEYREAP_NODES_OF_VIEW).
#include <windows.h>

#include <olectl.h>

#include <string>

namespace {

const std::wstring classPath = L"CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D30}";
const std::wstring settingsPath = L"Keyreap\\Nodes";

// Creates the whole path in one call, as most servers do.
void WriteText(HKEY root, const std::wstring& path, const wchar_t* name, const std::wstring& text,
               REGSAM view = 0) {
    HKEY key = nullptr;
    RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE | view, nullptr, &key, nullptr);
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
}

#ifdef KEYREAP_NODES_OF_USER

void WritePlain() {
    WriteText(HKEY_CURRENT_USER, L"Software\\" + settingsPath, L"", L"plain");
}

void WriteExplicit() {
    WriteText(HKEY_CURRENT_USER, L"Software\\Wow6432Node\\" + settingsPath, L"", L"explicit");
}

#elif defined(KEYREAP_NODES_OF_VIEW)

void WritePlain() {
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\" + settingsPath, L"", L"plain", KEY_WOW64_32KEY);
}

void WriteExplicit() {
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\" + settingsPath, L"", L"explicit");
}

#else

void WritePlain() {
    WriteText(HKEY_CLASSES_ROOT, classPath, L"", L"plain");
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\" + settingsPath, L"", L"plain");
}

void WriteExplicit() {
    WriteText(HKEY_CLASSES_ROOT, L"Wow6432Node\\" + classPath, L"", L"explicit");
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\" + settingsPath, L"", L"explicit");
    WriteText(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\" + settingsPath, L"name", L"alone");
}

#endif

} // namespace

STDAPI DllRegisterServer() {
#if defined(KEYREAP_NODES_FIRST) || defined(KEYREAP_NODES_OF_VIEW)
    WriteExplicit();
    WritePlain();
#else
    WritePlain();
    WriteExplicit();
#endif
    return S_OK;
}
