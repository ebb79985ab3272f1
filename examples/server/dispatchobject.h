#pragma once

#include "server/objectcount.h"
#include "server/ownmodule.h"

#include <windows.h>

#include <oaidl.h>

#include <atomic>

namespace keyreap::examples {

// The general part of an object with one dual interface: its reference count, and IDispatch, whose calls the
// type library directs to the interface's own methods.
template <class Interface>
class DispatchObject : public Interface, private Counted {
public:
    STDMETHODIMP QueryInterface(REFIID wanted, void** found) override {
        const bool known = wanted == IID_IUnknown || wanted == IID_IDispatch || wanted == __uuidof(Interface);
        *found = known ? static_cast<Interface*>(this) : nullptr;
        if (!known) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }

    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }

    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        *count = typeInfo != nullptr ? 1 : 0;
        return S_OK;
    }

    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        *info = index == 0 ? typeInfo : nullptr;
        if (*info == nullptr) {
            return DISP_E_BADINDEX;
        }
        typeInfo->AddRef();
        return S_OK;
    }

    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        return typeInfo != nullptr ? DispGetIDsOfNames(typeInfo, names, count, ids) : E_NOTIMPL;
    }

    STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* badArgument) override {
        return typeInfo != nullptr
                   ? DispInvoke(this, typeInfo, member, flags, parameters, result, exception, badArgument)
                   : E_NOTIMPL;
    }

protected:
    virtual ~DispatchObject() {
        if (typeInfo != nullptr) {
            typeInfo->Release();
        }
    }

private:
    std::atomic<ULONG> references = 1;
    ITypeInfo* typeInfo = OwnTypeInfo(__uuidof(Interface));
};

} // namespace keyreap::examples
