#pragma once

#include <windows.h>

#include <wbemcli.h>

// WMI's interfaces with every operation refused, for fakes that implement a few of them.
namespace keyreap {

class RefusingQualifierSet : public IWbemQualifierSet {
public:
    STDMETHODIMP Get(LPCWSTR, LONG, VARIANT*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Put(LPCWSTR, VARIANT*, LONG) override { return E_NOTIMPL; }
    STDMETHODIMP Delete(LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP GetNames(LONG, SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginEnumeration(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP Next(LONG, BSTR*, VARIANT*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP EndEnumeration() override { return E_NOTIMPL; }
};

class RefusingClassObject : public IWbemClassObject {
public:
    STDMETHODIMP GetQualifierSet(IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP Get(LPCWSTR, LONG, VARIANT*, CIMTYPE*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Put(LPCWSTR, LONG, VARIANT*, CIMTYPE) override { return E_NOTIMPL; }
    STDMETHODIMP Delete(LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP GetNames(LPCWSTR, LONG, VARIANT*, SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginEnumeration(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP Next(LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP EndEnumeration() override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyQualifierSet(LPCWSTR, IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP GetObjectText(LONG, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP SpawnDerivedClass(LONG, IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP SpawnInstance(LONG, IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP CompareTo(LONG, IWbemClassObject*) override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyOrigin(LPCWSTR, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP InheritsFrom(LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP GetMethod(LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteMethod(LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP BeginMethodEnumeration(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP EndMethodEnumeration() override { return E_NOTIMPL; }
    STDMETHODIMP GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP GetMethodOrigin(LPCWSTR, BSTR*) override { return E_NOTIMPL; }
};

class RefusingClassEnum : public IEnumWbemClassObject {
public:
    STDMETHODIMP Reset() override { return E_NOTIMPL; }
    STDMETHODIMP Next(LONG, ULONG, IWbemClassObject**, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP NextAsync(ULONG, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IEnumWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP Skip(LONG, ULONG) override { return E_NOTIMPL; }
};

class RefusingServices : public IWbemServices {
public:
    STDMETHODIMP OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CancelAsyncCall(IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryObjectSink(LONG, IWbemObjectSink**) override { return E_NOTIMPL; }
    STDMETHODIMP GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP GetObjectAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateClassEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP DeleteInstanceAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateInstanceEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecQuery(const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                       IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                            IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                            IWbemClassObject**, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                 IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
};

} // namespace keyreap
