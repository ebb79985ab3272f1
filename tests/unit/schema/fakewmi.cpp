#include "tests/unit/schema/fakewmi.h"

#include "tests/unit/schema/refusingwmi.h"

#include <cwchar>
#include <utility>

namespace keyreap {

namespace {

int liveObjects = 0;

constexpr CLSID locatorClass = {0x4590F811, 0x1D3A, 0x11D0, {0x89, 0x1F, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};

// Counts references and implements QueryInterface for one interface besides IUnknown.
template <typename Interface>
class Counted : public Interface {
public:
    Counted() { ++liveObjects; }
    virtual ~Counted() { --liveObjects; }

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        // The object has one interface; a derived class with more of them handles the others first.
        *object = nullptr;
        if (id != IID_IUnknown && !Offers(id)) {
            return E_NOINTERFACE;
        }
        *object = this;
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

protected:
    virtual bool Offers(REFIID) const { return true; }

private:
    ULONG references = 1;
};

class QualifierSet : public Counted<RefusingQualifierSet> {
public:
    explicit QualifierSet(FakeQualifierSet description) : description(std::move(description)) {}

    STDMETHODIMP Get(LPCWSTR name, LONG, VARIANT* value, LONG*) override {
        for (auto& [known, qualifier] : description.qualifiers) {
            if (_wcsicmp(known.c_str(), name) == 0) {
                return FAILED(qualifier.status) ? qualifier.status : VariantCopy(value, &qualifier.value);
            }
        }
        return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    }

private:
    FakeQualifierSet description;
};

HRESULT Fetch(const FakeQualifierSet& description, IWbemQualifierSet** set) {
    *set = nullptr;
    if (SUCCEEDED(description.status)) {
        *set = new QualifierSet(description);
    }
    return description.status;
}

class ClassObject : public Counted<RefusingClassObject> {
public:
    explicit ClassObject(FakeClass description) : description(std::move(description)) {}

    STDMETHODIMP GetQualifierSet(IWbemQualifierSet** set) override {
        return Fetch(description.qualifiers, set);
    }

    STDMETHODIMP Get(LPCWSTR name, LONG, VARIANT* value, CIMTYPE* type, LONG*) override {
        if (std::wcscmp(name, L"__RELPATH") == 0) {
            _variant_t path(description.name.c_str());
            return description.hasPath ? VariantCopy(value, &path) : static_cast<HRESULT>(WBEM_E_NOT_FOUND);
        }
        const FakeProperty* const property = Find(name);
        if (!property) {
            return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
        }
        *type = property->cimType;
        return property->status;
    }

    STDMETHODIMP GetNames(LPCWSTR qualifier, LONG flags, VARIANT*, SAFEARRAY** names) override {
        *names = nullptr;
        if (!description.hasNames || qualifier || flags != WBEM_FLAG_LOCAL_ONLY) {
            return static_cast<HRESULT>(WBEM_E_FAILED);
        }
        *names = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(description.properties.size()));
        for (LONG i = 0; i < static_cast<LONG>(description.properties.size()); ++i) {
            const FakeProperty& property = description.properties[static_cast<std::size_t>(i)];
            SafeArrayPutElement(*names, &i, _bstr_t(property.name.c_str()).GetBSTR());
        }
        return S_OK;
    }

    STDMETHODIMP GetPropertyQualifierSet(LPCWSTR name, IWbemQualifierSet** set) override {
        const FakeProperty* const property = Find(name);
        return property ? Fetch(property->qualifiers, set) : static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    }

private:
    const FakeProperty* Find(LPCWSTR name) const {
        for (const FakeProperty& property : description.properties) {
            if (property.name == name) {
                return &property;
            }
        }
        return nullptr;
    }

    FakeClass description;
};

class ClassEnum : public Counted<RefusingClassEnum> {
public:
    ClassEnum(std::vector<FakeClass> classes, HRESULT endStatus)
        : classes(std::move(classes)), endStatus(endStatus) {}

    STDMETHODIMP Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned) override {
        *returned = 0;
        if (timeout != static_cast<LONG>(WBEM_INFINITE) || count != 1) {
            return static_cast<HRESULT>(WBEM_E_INVALID_PARAMETER);
        }
        if (next == classes.size()) {
            return endStatus;
        }
        *objects = new ClassObject(classes[next++]);
        *returned = 1;
        return WBEM_S_NO_ERROR;
    }

private:
    std::vector<FakeClass> classes;
    HRESULT endStatus;
    std::size_t next = 0;
};

// The interface of a proxy that sets the proxy blanket.
class Security : public Counted<IClientSecurity> {
public:
    explicit Security(FakeWmi& wmi) : wmi(wmi) {}

    STDMETHODIMP QueryBlanket(IUnknown*, DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP SetBlanket(IUnknown*, DWORD authentication, DWORD authorisation, OLECHAR* principal,
                            DWORD level, DWORD impersonation, void* identity, DWORD capabilities) override {
        if (principal || identity) {
            return E_INVALIDARG;
        }
        std::wstring call = L"blanket";
        for (const DWORD number : {authentication, authorisation, level, impersonation, capabilities}) {
            call += L" " + std::to_wstring(number);
        }
        wmi.calls.push_back(call);
        return wmi.blanketStatus;
    }
    STDMETHODIMP CopyProxy(IUnknown*, IUnknown**) override { return E_NOTIMPL; }

private:
    FakeWmi& wmi;
};

class Services : public Counted<RefusingServices> {
public:
    explicit Services(FakeWmi& wmi) : wmi(wmi) {}

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        if (id == IID_IClientSecurity) {
            *object = new Security(wmi);
            return S_OK;
        }
        return Counted::QueryInterface(id, object);
    }

    STDMETHODIMP CreateClassEnum(const BSTR superclass, LONG flags, IWbemContext* context,
                                 IEnumWbemClassObject** found) override {
        *found = nullptr;
        wmi.calls.push_back(L"enumerate " + std::wstring(superclass) + L" " + std::to_wstring(flags));
        const auto classes = wmi.classes.find(superclass);
        if (context || classes == wmi.classes.end()) {
            return static_cast<HRESULT>(WBEM_E_INVALID_CLASS);
        }
        *found = new ClassEnum(classes->second, wmi.nextStatus);
        return S_OK;
    }

protected:
    bool Offers(REFIID id) const override { return id == IID_IWbemServices; }

private:
    FakeWmi& wmi;
};

class Locator : public Counted<IWbemLocator> {
public:
    explicit Locator(FakeWmi& wmi) : wmi(wmi) {}

    STDMETHODIMP ConnectServer(const BSTR resource, const BSTR user, const BSTR password, const BSTR locale,
                               LONG flags, const BSTR authority, IWbemContext* context,
                               IWbemServices** services) override {
        *services = nullptr;
        if (user || password || locale || flags || authority || context) {
            return E_INVALIDARG;
        }
        wmi.calls.push_back(L"connect " + std::wstring(resource));
        if (SUCCEEDED(wmi.connectStatus)) {
            *services = new Services(wmi);
        }
        return wmi.connectStatus;
    }

protected:
    bool Offers(REFIID id) const override { return id == IID_IWbemLocator; }

private:
    FakeWmi& wmi;
};

class Factory : public Counted<IClassFactory> {
public:
    explicit Factory(FakeWmi& wmi) : wmi(wmi) {}

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        *object = nullptr;
        if (outer) {
            return CLASS_E_NOAGGREGATION;
        }
        if (FAILED(wmi.createStatus)) {
            return wmi.createStatus;
        }
        auto* const locator = new Locator(wmi);
        const HRESULT status = locator->QueryInterface(id, object);
        locator->Release();
        return status;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

protected:
    bool Offers(REFIID id) const override { return id == IID_IClassFactory; }

private:
    FakeWmi& wmi;
};

} // namespace

FakeQualifierSet& FakeQualifierSet::Add(std::wstring name, _variant_t value) {
    qualifiers[std::move(name)] = {S_OK, std::move(value)};
    return *this;
}

FakeQualifierSet& FakeQualifierSet::AddUnreadable(std::wstring name, HRESULT why) {
    qualifiers[std::move(name)] = {why, {}};
    return *this;
}

FakeQualifierSet& FakeClass::AddProperty(std::wstring propertyName, CIMTYPE cimType, long wmiDataId) {
    FakeProperty property;
    property.name = std::move(propertyName);
    property.cimType = cimType;
    property.qualifiers.Add(L"WmiDataId", wmiDataId);
    properties.push_back(std::move(property));
    return properties.back().qualifiers;
}

_variant_t ArrayOf(VARTYPE elementType, std::initializer_list<long> elements) {
    _variant_t variant;
    V_ARRAY(&variant) = SafeArrayCreateVector(elementType, 0, static_cast<ULONG>(elements.size()));
    V_VT(&variant) = static_cast<VARTYPE>(VT_ARRAY | elementType);
    LONG index = 0;
    for (const long element : elements) {
        _variant_t number(element);
        if (elementType == VT_VARIANT) {
            SafeArrayPutElement(V_ARRAY(&variant), &index, &number);
        } else {
            number.ChangeType(elementType);
            SafeArrayPutElement(V_ARRAY(&variant), &index, &V_UI8(&number));
        }
        ++index;
    }
    return variant;
}

_variant_t ArrayOfTexts(std::initializer_list<const wchar_t*> elements) {
    _variant_t variant;
    V_ARRAY(&variant) = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(elements.size()));
    V_VT(&variant) = VT_ARRAY | VT_BSTR;
    LONG index = 0;
    for (const wchar_t* element : elements) {
        SafeArrayPutElement(V_ARRAY(&variant), &index, _bstr_t(element).GetBSTR());
        ++index;
    }
    return variant;
}

FakeWmi::FakeWmi() : factory(new Factory(*this)) {
    CoInitialize(nullptr);
    CoRegisterClassObject(locatorClass, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration);
}

FakeWmi::~FakeWmi() {
    CoRevokeClassObject(registration);
    factory->Release();
    CoUninitialize();
}

FakeClass& FakeWmi::AddClass(const std::wstring& superclass, std::wstring name) {
    std::vector<FakeClass>& list = classes[superclass];
    list.emplace_back();
    list.back().name = std::move(name);
    return list.back();
}

IWbemClassObject* FakeWmi::Object(const FakeClass& description) {
    return new ClassObject(description);
}

int FakeWmi::LiveObjects() {
    return liveObjects;
}

} // namespace keyreap
