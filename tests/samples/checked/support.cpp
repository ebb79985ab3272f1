#include "tests/samples/checked/support.h"

#include <windows.h>

#include <objbase.h>
#include <olectl.h>

#include <algorithm>
#include <new>

namespace keyreap::checked {

namespace {

std::atomic<long> objects = 0;

class PlainObject final : public IPersist, private Counted {
public:
    explicit PlainObject(const CLSID& id) : id(id) {}
    virtual ~PlainObject() = default;

    STDMETHODIMP QueryInterface(REFIID wanted, void** found) override {
        const bool isKnown = wanted == IID_IUnknown || wanted == IID_IPersist;
        *found = isKnown ? static_cast<IPersist*>(this) : nullptr;
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
    STDMETHODIMP GetClassID(CLSID* own) override {
        *own = id;
        return S_OK;
    }

private:
    CLSID id;
};

class Factory final : public IClassFactory, private Counted {
public:
    explicit Factory(const ServedClass& served) : served(served) {}
    virtual ~Factory() = default;

    STDMETHODIMP QueryInterface(REFIID wanted, void** found) override {
        const bool isKnown = wanted == IID_IUnknown || wanted == IID_IClassFactory;
        *found = isKnown ? static_cast<IClassFactory*>(this) : nullptr;
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
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID wanted, void** found) override {
        *found = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        if (served.make == nullptr) {
            return CLASS_E_CLASSNOTAVAILABLE;
        }
        IUnknown* object = served.make(served.id);
        if (object == nullptr) {
            return E_OUTOFMEMORY;
        }
        const HRESULT result = object->QueryInterface(wanted, found);
        object->Release();
        return result;
    }
    STDMETHODIMP LockServer(BOOL isLocked) override {
        objects += isLocked ? 1 : -1;
        return S_OK;
    }

private:
    const ServedClass& served;
};

bool IsAbsent(LSTATUS status) {
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
}

} // namespace

Counted::Counted() {
    ++objects;
}

Counted::~Counted() {
    --objects;
}

IUnknown* MakePlainObject(const CLSID& id) {
    return new (std::nothrow) PlainObject(id);
}

std::wstring ModulePath() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&objects), &module);
    constexpr DWORD longestPath = 1024;
    wchar_t path[longestPath] = {};
    return std::wstring(path, GetModuleFileNameW(module, path, longestPath));
}

std::wstring ModuleFolder() {
    const std::wstring path = ModulePath();
    return path.substr(0, path.rfind(L'\\'));
}

std::wstring TextOf(const GUID& id) {
    constexpr int length = 38;
    wchar_t text[length + 1] = {};
    StringFromGUID2(id, text, length + 1);
    return text;
}

std::wstring KeyOf(const ServedClass& served) {
    return L"CLSID\\" + TextOf(served.id);
}

void Entries::Keep(LSTATUS result) {
    if (status == ERROR_SUCCESS) {
        status = result;
    }
}

void Entries::SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text, DWORD type) {
    SetData(key, name, type, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

void Entries::SetNumber(const std::wstring& key, const wchar_t* name, DWORD number) {
    SetData(key, name, REG_DWORD, &number, sizeof(number));
}

void Entries::SetData(const std::wstring& key, const wchar_t* name, DWORD type, const void* data,
                      std::size_t size) {
    if (const HKEY handle = Created(key)) {
        Keep(RegSetValueExW(handle, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)));
        RegCloseKey(handle);
    }
}

void Entries::CreateKey(const std::wstring& key) {
    if (const HKEY handle = Created(key)) {
        RegCloseKey(handle);
    }
}

HKEY Entries::Created(const std::wstring& key) {
    HKEY handle = nullptr;
    if (status == ERROR_SUCCESS) {
        Keep(RegCreateKeyExW(root, (prefix + key).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                             KEY_SET_VALUE | view, nullptr, &handle, nullptr));
    }
    return handle;
}

void Entries::RemoveTree(const std::wstring& key) {
    if (status != ERROR_SUCCESS) {
        return;
    }
    HKEY handle = nullptr;
    const std::wstring path = prefix + key;
    const LSTATUS opened =
        RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | KEY_WRITE | DELETE | view, &handle);
    if (opened != ERROR_SUCCESS) {
        Keep(IsAbsent(opened) ? ERROR_SUCCESS : opened);
        return;
    }
    Keep(RegDeleteTreeW(handle, nullptr));
    RegCloseKey(handle);
    Keep(RegDeleteKeyExW(root, path.c_str(), view, 0));
}

void Entries::RemoveUnlessUsed(const std::wstring& key) {
    if (status == ERROR_SUCCESS) {
        RegDeleteKeyExW(root, (prefix + key).c_str(), view, 0);
    }
}

void RegisterPath(Entries& entries, const ServedClass& served) {
    entries.SetText(KeyOf(served), nullptr, served.name);
    entries.SetText(KeyOf(served) + L"\\InprocServer32", nullptr, ModulePath());
}

void RegisterModelAndProgId(Entries& entries, const ServedClass& served) {
    entries.SetText(KeyOf(served) + L"\\InprocServer32", L"ThreadingModel", served.threadingModel);
    entries.SetText(KeyOf(served) + L"\\ProgID", nullptr, served.progId);
    entries.SetText(served.progId, nullptr, served.name);
    entries.SetText(std::wstring(served.progId) + L"\\CLSID", nullptr, TextOf(served.id));
}

void RegisterClass(Entries& entries, const ServedClass& served) {
    RegisterPath(entries, served);
    RegisterModelAndProgId(entries, served);
}

void UnregisterClass(Entries& entries, const ServedClass& served) {
    entries.RemoveTree(served.progId);
    entries.RemoveTree(KeyOf(served));
}

HRESULT RegisterClasses() {
    Entries entries(HKEY_CLASSES_ROOT);
    for (const ServedClass& served : ServedClasses()) {
        RegisterClass(entries, served);
    }
    return entries.Result();
}

HRESULT UnregisterClasses() {
    Entries entries(HKEY_CLASSES_ROOT);
    for (const ServedClass& served : ServedClasses()) {
        UnregisterClass(entries, served);
    }
    return entries.Result();
}

} // namespace keyreap::checked

STDAPI DllCanUnloadNow() {
    return keyreap::checked::objects == 0 ? S_OK : S_FALSE;
}

STDAPI DllGetClassObject(REFCLSID wantedClass, REFIID wanted, void** found) {
    using namespace keyreap::checked;
    *found = nullptr;
    const std::span<const ServedClass> all = ServedClasses();
    const auto served =
        std::find_if(all.begin(), all.end(), [&](const ServedClass& one) { return one.id == wantedClass; });
    if (served == all.end()) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    auto* factory = new (std::nothrow) Factory(*served);
    if (factory == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = factory->QueryInterface(wanted, found);
    factory->Release();
    return result;
}
