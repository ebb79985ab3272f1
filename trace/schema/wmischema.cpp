#include "trace/schema/wmischema.h"

#include "platform/core/text/varianttext.h"
#include "platform/os/owned.h"
#include "platform/os/ownedinterface.h"

namespace keyreap {

namespace {

using OwnedSafeArray = Owned<ClosedBy<SAFEARRAY*, SafeArrayDestroy>>;

bool HasQualifier(IWbemQualifierSet& qualifiers, const wchar_t* name) {
    _variant_t ignored;
    return SUCCEEDED(ReadQualifier(qualifiers, name, ignored));
}

std::optional<std::wstring> TextQualifier(IWbemQualifierSet& qualifiers, const wchar_t* name) {
    _variant_t value;
    if (FAILED(ReadQualifier(qualifiers, name, value))) {
        return std::nullopt;
    }
    return VariantToText(value);
}

std::optional<std::int32_t> NumberQualifier(IWbemQualifierSet& qualifiers, const wchar_t* name) {
    _variant_t value;
    if (FAILED(ReadQualifier(qualifiers, name, value))) {
        return std::nullopt;
    }
    return NumberOf(value);
}

PropertyQualifiers ReadPropertyQualifiers(IWbemQualifierSet& qualifiers) {
    PropertyQualifiers read;
    read.pointer = HasQualifier(qualifiers, L"Pointer") || HasQualifier(qualifiers, L"PointerType");
    read.format = HasQualifier(qualifiers, L"Format");
    read.stringTermination = TextQualifier(qualifiers, L"StringTermination");
    read.extension = TextQualifier(qualifiers, L"Extension");
    read.max = NumberQualifier(qualifiers, L"MAX");
    return read;
}

bool IsListOfTexts(SAFEARRAY* array) {
    VARTYPE type = VT_EMPTY;
    return array && SafeArrayGetDim(array) == 1 && SUCCEEDED(SafeArrayGetVartype(array, &type)) &&
           type == VT_BSTR;
}

// The names that the class itself declares; empty if they can't be read.
std::optional<std::vector<_bstr_t>> LocalNames(IWbemClassObject& eventClass) {
    SAFEARRAY* given = nullptr;
    eventClass.GetNames(nullptr, WBEM_FLAG_LOCAL_ONLY, nullptr, &given);
    const OwnedSafeArray array(given);
    LONG first = 0;
    LONG last = -1;
    if (!IsListOfTexts(given) || FAILED(SafeArrayGetLBound(given, 1, &first)) ||
        FAILED(SafeArrayGetUBound(given, 1, &last))) {
        return std::nullopt;
    }
    std::vector<_bstr_t> names;
    for (LONG i = first; i <= last; ++i) {
        BSTR name = nullptr;
        if (FAILED(SafeArrayGetElement(given, &i, &name))) {
            return std::nullopt;
        }
        names.emplace_back(name, false);
    }
    return names;
}

bool LoadProperty(EventSchema& schema, IWbemClassObject& eventClass, const _bstr_t& name) {
    IWbemQualifierSet* given = nullptr;
    if (FAILED(eventClass.GetPropertyQualifierSet(name, &given))) {
        return false;
    }
    const OwnedInterface<IWbemQualifierSet> qualifiers(given);
    const std::optional<std::int32_t> id = NumberQualifier(*qualifiers.Get(), L"WmiDataId");
    CIMTYPE cimType = 0;
    if (!id || FAILED(eventClass.Get(name, 0, nullptr, &cimType, nullptr))) {
        return false;
    }
    if (*id < 1 || static_cast<std::size_t>(*id) > schema.properties.size()) {
        return false;
    }
    schema.properties[static_cast<std::size_t>(*id) - 1] = {std::wstring(name, name.length()),
                                                            static_cast<std::uint32_t>(cimType),
                                                            ReadPropertyQualifiers(*qualifiers.Get())};
    return true;
}

} // namespace

HRESULT ReadQualifier(IWbemQualifierSet& qualifiers, const wchar_t* name, _variant_t& value) {
    return qualifiers.Get(name, 0, &value, nullptr);
}

std::optional<std::int32_t> NumberOf(const VARIANT& value) {
    _variant_t number;
    VARIANT source = value; // the call only reads it, but its parameter is not constant; not owned here
    if (V_VT(&value) == VT_EMPTY || FAILED(VariantChangeType(&number, &source, 0, VT_I4))) {
        return std::nullopt;
    }
    return V_I4(&number);
}

bool LoadSchema(EventSchema& schema, IWbemClassObject& eventClass) {
    schema.properties.clear();
    const std::optional<std::vector<_bstr_t>> names = LocalNames(eventClass);
    if (!names) {
        return false;
    }
    schema.properties.resize(names->size());
    for (const _bstr_t& name : *names) {
        if (!LoadProperty(schema, eventClass, name)) {
            schema.properties.clear();
            return false;
        }
    }
    return true;
}

} // namespace keyreap
