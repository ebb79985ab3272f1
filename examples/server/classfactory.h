#pragma once

#include "server/objectcount.h"

#include <windows.h>

#include <new>

namespace keyreap::examples {

// Makes objects of one class. There is one factory a module, which lives as long as the module does.
template <class Object>
class ClassFactory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID wanted, void** found) override {
        const bool known = wanted == IID_IUnknown || wanted == IID_IClassFactory;
        *found = known ? static_cast<IClassFactory*>(this) : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }

    STDMETHODIMP_(ULONG) AddRef() override { return 2; }

    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID wanted, void** found) override {
        *found = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        auto* object = new (std::nothrow) Object;
        if (object == nullptr) {
            return E_OUTOFMEMORY;
        }
        const HRESULT result = object->QueryInterface(wanted, found);
        object->Release();
        return result;
    }

    STDMETHODIMP LockServer(BOOL lock) override {
        HoldServer(lock != FALSE);
        return S_OK;
    }

    virtual ~ClassFactory() = default;
};

} // namespace keyreap::examples
