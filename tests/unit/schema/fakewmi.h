#pragma once

#include <windows.h>

#include <comdef.h>
#include <wbemcli.h>

#include <map>
#include <string>
#include <vector>

// Event classes described by plain values, and objects that implement WMI's interfaces for them.
namespace keyreap {

struct FakeQualifierSet {
    FakeQualifierSet& Add(std::wstring name, _variant_t value);
    FakeQualifierSet& AddUnreadable(std::wstring name, HRESULT status);

    struct Qualifier {
        HRESULT status = S_OK;
        _variant_t value;
    };

    HRESULT status = S_OK; // of fetching the set
    std::map<std::wstring, Qualifier> qualifiers;
};

struct FakeProperty {
    std::wstring name;
    CIMTYPE cimType = CIM_UINT32;
    FakeQualifierSet qualifiers;
    HRESULT status = S_OK; // of Get
};

struct FakeClass {
    std::wstring name;
    FakeQualifierSet qualifiers;
    std::vector<FakeProperty> properties; // in the order of GetNames
    bool hasPath = true;
    bool hasNames = true;

    // A property with a place in the payload.
    FakeQualifierSet& AddProperty(std::wstring propertyName, CIMTYPE cimType, long wmiDataId);
};

// An array of numbers of an integer variant type, or of variants.
_variant_t ArrayOf(VARTYPE elementType, std::initializer_list<long> elements);
_variant_t ArrayOfTexts(std::initializer_list<const wchar_t*> elements);

// A WMI with the classes of a test. As long as it lives, CoCreateInstance of WbemLocator gives its locator.
class FakeWmi {
public:
    FakeWmi();
    ~FakeWmi();
    FakeWmi(const FakeWmi&) = delete;
    FakeWmi& operator=(const FakeWmi&) = delete;

    // Adds a class as the last one that an enumeration below the superclass gives.
    FakeClass& AddClass(const std::wstring& superclass, std::wstring name);

    // The class object itself, with one reference.
    static IWbemClassObject* Object(const FakeClass& description);

    // How many objects made here are still referenced.
    static int LiveObjects();

    HRESULT createStatus = S_OK;                            // of creating the locator
    HRESULT connectStatus = S_OK;                           // of ConnectServer
    HRESULT blanketStatus = S_OK;                           // of setting the proxy blanket
    HRESULT nextStatus = WBEM_S_FALSE;                      // at the end of an enumeration
    std::map<std::wstring, std::vector<FakeClass>> classes; // by superclass
    std::vector<std::wstring>
        calls; // "connect root\wmi", "blanket 10 0 4 3 0", "enumerate EventTrace 131104"

private:
    IClassFactory* factory = nullptr;
    DWORD registration = 0;
};

} // namespace keyreap
