#include "trace/schema/wmiconnection.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/platformguid.h"
#include "platform/core/text/text.h"
#include "platform/core/text/varianttext.h"
#include "trace/schema/wmischema.h"

namespace keyreap {

namespace {

// As published in wbemcli.h.
constexpr Guid locatorClass{0x4590F811, 0x1D3A, 0x11D0, {0x89, 0x1F, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};
constexpr Guid locatorInterface{0xDC12A687, 0x737F, 0x11CF, {0x88, 0x4D, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};

constexpr LONG classFlags = WBEM_FLAG_USE_AMENDED_QUALIFIERS | WBEM_FLAG_FORWARD_ONLY;

OwnedInterface<IWbemLocator> CreateLocator() {
    const GUID classId = ToPlatformGuid(locatorClass);
    const GUID interfaceId = ToPlatformGuid(locatorInterface);
    void* locator = nullptr;
    if (FAILED(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, interfaceId, &locator))) {
        return {};
    }
    return OwnedInterface<IWbemLocator>(static_cast<IWbemLocator*>(locator));
}

OwnedClass NextClass(IEnumWbemClassObject& classes) {
    IWbemClassObject* next = nullptr;
    ULONG count = 0;
    const HRESULT status = classes.Next(static_cast<LONG>(WBEM_INFINITE), 1, &next, &count);
    OwnedClass found(next);
    return status == WBEM_S_NO_ERROR ? std::move(found) : OwnedClass();
}

OwnedInterface<IWbemQualifierSet> QualifiersOf(IWbemClassObject& eventClass) {
    IWbemQualifierSet* qualifiers = nullptr;
    if (FAILED(eventClass.GetQualifierSet(&qualifiers))) {
        return {};
    }
    return OwnedInterface<IWbemQualifierSet>(qualifiers);
}

// A class without "EventVersion" describes every version.
bool DescribesVersion(IWbemQualifierSet& qualifiers, std::uint16_t version) {
    _variant_t value;
    const HRESULT status = ReadQualifier(qualifiers, L"EventVersion", value);
    return SUCCEEDED(status) ? NumberOf(value) == version : status == static_cast<HRESULT>(WBEM_E_NOT_FOUND);
}

bool IsVersionClass(IWbemClassObject& candidate, std::wstring_view guidText, std::uint16_t version) {
    const OwnedInterface<IWbemQualifierSet> qualifiers = QualifiersOf(candidate);
    _variant_t guid;
    return qualifiers.Valid() && SUCCEEDED(ReadQualifier(*qualifiers.Get(), L"Guid", guid)) &&
           CompareFolded(VariantToText(guid), guidText) == 0 && DescribesVersion(*qualifiers.Get(), version);
}

// One element of an array as a variant, which is empty if the element can't be read or doesn't fit.
_variant_t ElementOf(SAFEARRAY& array, LONG index) {
    _variant_t element;
    VARTYPE type = VT_EMPTY;
    if (FAILED(SafeArrayGetVartype(&array, &type))) {
        return element;
    }
    if (type == VT_VARIANT) {
        SafeArrayGetElement(&array, &index, &element);
    } else if (SafeArrayGetElemsize(&array) <= sizeof(V_UI8(&element)) &&
               SUCCEEDED(SafeArrayGetElement(&array, &index, &V_UI8(&element)))) {
        V_VT(&element) = type;
    }
    return element;
}

bool ArrayContains(SAFEARRAY& array, std::uint8_t type) {
    LONG first = 0;
    LONG last = -1;
    if (SafeArrayGetDim(&array) != 1 || FAILED(SafeArrayGetLBound(&array, 1, &first)) ||
        FAILED(SafeArrayGetUBound(&array, 1, &last))) {
        return false;
    }
    for (LONG i = first; i <= last; ++i) {
        if (NumberOf(ElementOf(array, i)) == type) {
            return true;
        }
    }
    return false;
}

// Deliberate: a class whose event types can't be read counts as a match and ends the search.
bool IsTypeClass(IWbemClassObject& candidate, std::uint8_t type) {
    const OwnedInterface<IWbemQualifierSet> qualifiers = QualifiersOf(candidate);
    _variant_t types;
    if (!qualifiers.Valid() || FAILED(ReadQualifier(*qualifiers.Get(), L"EventType", types))) {
        return true;
    }
    if ((V_VT(&types) & VT_ARRAY) == 0) {
        return NumberOf(types) == type;
    }
    return V_ARRAY(&types) && ArrayContains(*V_ARRAY(&types), type);
}

} // namespace

WmiConnection::WmiConnection() {
    Connect();
}

void WmiConnection::Connect() {
    const OwnedInterface<IWbemLocator> locator = CreateLocator();
    if (!locator.Valid()) {
        return;
    }
    IWbemServices* connected = nullptr;
    if (FAILED(locator.Get()->ConnectServer(_bstr_t(L"root\\wmi"), nullptr, nullptr, nullptr, 0, nullptr,
                                            nullptr, &connected))) {
        return;
    }
    services.Reset(connected);
    if (FAILED(CoSetProxyBlanket(connected, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                 RPC_C_AUTHN_LEVEL_PKT, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE))) {
        services.Reset();
    }
}

OwnedClass WmiConnection::FindEventClass(std::wstring_view guidText, std::uint16_t version,
                                         std::uint8_t type) {
    std::vector<OwnedClass>& known = classList[std::wstring(guidText) + L"#" + IntegerToText(version)];
    known.push_back(FindVersionClass(guidText, version));
    IWbemClassObject* const versionClass = known.back().Get();
    return versionClass ? FindTypeClass(*versionClass, type) : OwnedClass();
}

SchemaLookup WmiConnection::Load(std::wstring_view guidText, std::uint16_t version, std::uint8_t type,
                                 EventSchema& schema) {
    const OwnedClass eventClass = FindEventClass(guidText, version, type);
    if (!eventClass.Valid()) {
        return SchemaLookup::noClass;
    }
    return LoadSchema(schema, *eventClass.Get()) ? SchemaLookup::loaded : SchemaLookup::unreadable;
}

OwnedInterface<IEnumWbemClassObject> WmiConnection::EnumerateClasses(const wchar_t* superclass,
                                                                     LONG flags) const {
    IEnumWbemClassObject* classes = nullptr;
    if (!services.Valid() ||
        FAILED(services.Get()->CreateClassEnum(_bstr_t(superclass), flags, nullptr, &classes))) {
        return {};
    }
    return OwnedInterface<IEnumWbemClassObject>(classes);
}

OwnedClass WmiConnection::FindVersionClass(std::wstring_view guidText, std::uint16_t version) const {
    const auto classes = EnumerateClasses(L"EventTrace", classFlags);
    if (!classes.Valid()) {
        return {};
    }
    for (OwnedClass next = NextClass(*classes.Get()); next.Valid(); next = NextClass(*classes.Get())) {
        if (IsVersionClass(*next.Get(), guidText, version)) {
            return next;
        }
    }
    return {};
}

OwnedClass WmiConnection::FindTypeClass(IWbemClassObject& versionClass, std::uint8_t type) const {
    _variant_t name;
    if (FAILED(versionClass.Get(L"__RELPATH", 0, &name, nullptr, nullptr)) || V_VT(&name) != VT_BSTR) {
        return {};
    }
    const auto classes = EnumerateClasses(V_BSTR(&name), classFlags | WBEM_FLAG_SHALLOW);
    if (!classes.Valid()) {
        return {};
    }
    for (OwnedClass next = NextClass(*classes.Get()); next.Valid(); next = NextClass(*classes.Get())) {
        if (IsTypeClass(*next.Get(), type)) {
            return next;
        }
    }
    return {};
}

} // namespace keyreap
