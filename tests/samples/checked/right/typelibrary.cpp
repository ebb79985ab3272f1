// Registers the type library in its resources.
#include <initguid.h>

#include "meter_h.h"
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <oleauto.h>
#include <olectl.h>

#include <new>

namespace keyreap::checked {

namespace {

IUnknown* MakeMeter(const CLSID& id);

constexpr ServedClass classes[] = {
    {{0xf3d8bc6d, 0x3c1b, 0x4496, {0x85, 0x87, 0xa7, 0x39, 0x9e, 0x92, 0xdf, 0xa0}},
     L"Checked: TypeLibrary",
     L"KeyreapChecked.TypeLibrary",
     L"Both",
     MakeMeter},
};

class MeterObject final : public IMeter, private Counted {
public:
    virtual ~MeterObject() = default;

    STDMETHODIMP QueryInterface(REFIID wanted, void** found) override {
        const bool isKnown = wanted == IID_IUnknown || wanted == IID_IDispatch || wanted == IID_IMeter;
        *found = isKnown ? static_cast<IMeter*>(this) : nullptr;
        if (isKnown) {
            AddRef();
        }
        return isKnown ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return Increment(); }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = Decrement();
        if (left == 0) {
            delete this;
        }
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP get_Reading(LONG* reading) override {
        *reading = 42;
        return S_OK;
    }
};

IUnknown* MakeMeter(const CLSID&) {
    return new (std::nothrow) MeterObject;
}

HRESULT RegisterOwnTypeLibrary() {
    ITypeLib* library = nullptr;
    std::wstring path = ModulePath();
    std::wstring folder = ModuleFolder();
    HRESULT result = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library);
    if (SUCCEEDED(result)) {
        result = RegisterTypeLib(library, path.data(), folder.data());
        library->Release();
    }
    return result;
}

bool IsTypeLibraryRegistered() {
    HKEY key = nullptr;
    const std::wstring path = L"TypeLib\\" + TextOf(LIBID_MeterLib) + L"\\1.0";
    const LSTATUS status = RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_QUERY_VALUE, &key);
    if (status == ERROR_SUCCESS) {
        RegCloseKey(key);
    }
    return status == ERROR_SUCCESS;
}

HRESULT UnregisterOwnTypeLibrary() {
    constexpr SYSKIND ownSystem = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;
    return IsTypeLibraryRegistered() ? UnRegisterTypeLib(LIBID_MeterLib, 1, 0, LOCALE_NEUTRAL, ownSystem)
                                     : S_OK;
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    RegisterClass(entries, classes[0]);
    entries.SetText(KeyOf(classes[0]) + L"\\TypeLib", nullptr, TextOf(LIBID_MeterLib));
    entries.SetText(KeyOf(classes[0]) + L"\\Version", nullptr, L"1.0");
    entries.CreateKey(KeyOf(classes[0]) + L"\\Programmable");
    return FAILED(entries.Result()) ? entries.Result() : RegisterOwnTypeLibrary();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    const HRESULT result = UnregisterClasses();
    return FAILED(result) ? result : UnregisterOwnTypeLibrary();
}
