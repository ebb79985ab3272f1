// Writes its own path in every place that can contain a path.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

#include <cwctype>

namespace keyreap::samples {

namespace {

std::wstring ParentOf(const std::wstring& path) {
    return path.substr(0, path.rfind(L'\\'));
}

std::wstring InCapitals(std::wstring text) {
    for (wchar_t& unit : text) {
        unit = static_cast<wchar_t>(std::towupper(unit));
    }
    return text;
}

std::wstring WithSlashes(std::wstring path) {
    for (wchar_t& unit : path) {
        unit = unit == L'\\' ? L'/' : unit;
    }
    return path;
}

void WriteTexts(const KeyWriter& key, const std::wstring& path) {
    const std::wstring folder = ParentOf(path);
    key.SetText(L"", path);
    key.SetText(L"capitals", InCapitals(path));
    key.SetText(L"folder", folder);
    key.SetText(L"folder with backslash", folder + L"\\");
    key.SetText(L"neighbour", folder + L"\\neighbour.dll");
    key.SetText(L"quoted", L"\"" + path + L"\" /automation");
    key.SetText(L"slashes", WithSlashes(path));
    key.SetText(L"twice", path + L";" + path);
    key.SetText(L"with number", path + L",-101");
}

void WriteOtherForms(const KeyWriter& key, const std::wstring& path) {
    key.SetUnits(L"binary", REG_BINARY, path);
    key.SetUnits(L"expand", REG_EXPAND_SZ, path + L'\0');
    key.SetUnits(L"list", REG_MULTI_SZ, path + L'\0' + L'\0');
    key.SetText(L"name " + path, L"value name");
}

} // namespace

} // namespace keyreap::samples

STDAPI DllRegisterServer() {
    using namespace keyreap::samples;
    const std::wstring path = ModulePathOf(reinterpret_cast<const void*>(&DllRegisterServer));
    const KeyWriter key(HKEY_CLASSES_ROOT, L"Keyreap.SelfPath");
    WriteTexts(key, path);
    WriteOtherForms(key, path);
    KeyWriter(key.Handle(), L"key " + WithSlashes(path)).SetText(L"", L"key name");
    return S_OK;
}
