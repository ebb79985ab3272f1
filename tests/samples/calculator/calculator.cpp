// A whole in-process server: class factory, ProgID, and a type library that it registers itself.
#include <initguid.h>

#include "calculator_h.h"
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <oleauto.h>
#include <olectl.h>

#include <atomic>
#include <new>

namespace keyreap::samples {

namespace {

constexpr wchar_t classId[] = L"{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}";
constexpr wchar_t libraryId[] = L"{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D11}";
constexpr wchar_t progId[] = L"Keyreap.Calculator";
constexpr wchar_t progIdOfVersion[] = L"Keyreap.Calculator.1";

std::atomic<long> objects = 0;

std::wstring OwnPath() {
    return ModulePathOf(&objects);
}

class Counted {
public:
    Counted() { ++objects; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

protected:
    ~Counted() { --objects; }

    ULONG Increment() { return ++references; }
    ULONG Decrement() { return --references; }

private:
    std::atomic<ULONG> references = 1;
};

class Calculator final : public ICalculator, private Counted {
public:
    STDMETHODIMP QueryInterface(REFIID wanted, void** found) override {
        const bool known = wanted == IID_IUnknown || wanted == IID_IDispatch || wanted == IID_ICalculator;
        *found = known ? static_cast<ICalculator*>(this) : nullptr;
        if (known) {
            AddRef();
        }
        return known ? S_OK : E_NOINTERFACE;
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
    STDMETHODIMP Add(LONG a, LONG b, LONG* sum) override {
        *sum = a + b;
        return S_OK;
    }

    virtual ~Calculator() = default;
};

class Factory final : public IClassFactory, private Counted {
public:
    STDMETHODIMP QueryInterface(REFIID wanted, void** found) override {
        const bool known = wanted == IID_IUnknown || wanted == IID_IClassFactory;
        *found = known ? static_cast<IClassFactory*>(this) : nullptr;
        if (known) {
            AddRef();
        }
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return Increment(); }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = Decrement();
        if (left == 0) {
            delete this;
        }
        return left;
    }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID wanted, void** found) override {
        *found = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        auto* calculator = new (std::nothrow) Calculator;
        if (calculator == nullptr) {
            return E_OUTOFMEMORY;
        }
        const HRESULT result = calculator->QueryInterface(wanted, found);
        calculator->Release();
        return result;
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        objects += lock ? 1 : -1;
        return S_OK;
    }

    virtual ~Factory() = default;
};

HRESULT RegisterOwnTypeLibrary() {
    ITypeLib* library = nullptr;
    const std::wstring path = OwnPath();
    HRESULT result = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library);
    if (FAILED(result)) {
        return result;
    }
    std::wstring writablePath = path;
    std::wstring folder = path.substr(0, path.rfind(L'\\'));
    result = RegisterTypeLib(library, writablePath.data(), folder.data());
    library->Release();
    return result;
}

void RegisterProgIds() {
    const KeyWriter plain(HKEY_CLASSES_ROOT, progId);
    plain.SetText(L"", L"Calculator Class");
    KeyWriter(plain.Handle(), L"CLSID").SetText(L"", classId);
    KeyWriter(plain.Handle(), L"CurVer").SetText(L"", progIdOfVersion);
    const KeyWriter versioned(HKEY_CLASSES_ROOT, progIdOfVersion);
    versioned.SetText(L"", L"Calculator Class");
    KeyWriter(versioned.Handle(), L"CLSID").SetText(L"", classId);
}

void RegisterClass() {
    const KeyWriter key(HKEY_CLASSES_ROOT, std::wstring(L"CLSID\\") + classId);
    key.SetText(L"", L"Calculator Class");
    const KeyWriter server(key.Handle(), L"InprocServer32");
    server.SetText(L"", OwnPath());
    server.SetText(L"ThreadingModel", L"Both");
    KeyWriter(key.Handle(), L"ProgID").SetText(L"", progIdOfVersion);
    KeyWriter(key.Handle(), L"Programmable");
    KeyWriter(key.Handle(), L"TypeLib").SetText(L"", libraryId);
    KeyWriter(key.Handle(), L"Version").SetText(L"", L"1.0");
    KeyWriter(key.Handle(), L"VersionIndependentProgID").SetText(L"", progId);
}

HRESULT UnregisterAll() {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, progId);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, progIdOfVersion);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + classId).c_str());
    constexpr SYSKIND ownSystem = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;
    return UnRegisterTypeLib(LIBID_CalculatorLib, 1, 0, LOCALE_NEUTRAL, ownSystem);
}

} // namespace

} // namespace keyreap::samples

STDAPI DllCanUnloadNow() {
    return keyreap::samples::objects == 0 ? S_OK : S_FALSE;
}

STDAPI DllGetClassObject(REFCLSID wantedClass, REFIID wanted, void** found) {
    *found = nullptr;
    if (wantedClass != CLSID_Calculator) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    auto* factory = new (std::nothrow) keyreap::samples::Factory;
    if (factory == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = factory->QueryInterface(wanted, found);
    factory->Release();
    return result;
}

STDAPI DllRegisterServer() {
    keyreap::samples::RegisterProgIds();
    keyreap::samples::RegisterClass();
    return keyreap::samples::RegisterOwnTypeLibrary();
}

STDAPI DllUnregisterServer() {
    return keyreap::samples::UnregisterAll();
}
