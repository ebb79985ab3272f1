// Writes each value by one call, without opening a key itself.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0xba29e100, 0x14ef, 0x4909, {0xa3, 0xa6, 0x18, 0xd9, 0xa4, 0x96, 0xc0, 0xff}},
     L"Checked: Advapi",
     L"KeyreapChecked.Advapi",
     L"Both",
     MakePlainObject},
};

LSTATUS SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    return RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(),
                           static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

HRESULT RegisterAll(const ServedClass& served) {
    const struct {
        std::wstring key;
        const wchar_t* name;
        std::wstring text;
    } values[] = {
        {KeyOf(served), nullptr, served.name},
        {KeyOf(served) + L"\\InprocServer32", nullptr, ModulePath()},
        {KeyOf(served) + L"\\InprocServer32", L"ThreadingModel", served.threadingModel},
        {KeyOf(served) + L"\\ProgID", nullptr, served.progId},
        {served.progId, nullptr, served.name},
        {std::wstring(served.progId) + L"\\CLSID", nullptr, TextOf(served.id)},
    };
    for (const auto& value : values) {
        if (SetText(value.key, value.name, value.text) != ERROR_SUCCESS) {
            return SELFREG_E_CLASS;
        }
    }
    return S_OK;
}

bool Remove(const std::wstring& key) {
    const LSTATUS status = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    return keyreap::checked::RegisterAll(keyreap::checked::classes[0]);
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    return Remove(classes[0].progId) && Remove(KeyOf(classes[0])) ? S_OK : SELFREG_E_CLASS;
}
