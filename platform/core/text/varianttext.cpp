#include "platform/core/text/varianttext.h"

#include "platform/core/text/bstrtext.h"
#include "platform/core/text/text.h"

#include <optional>

namespace keyreap {

namespace {

// Deliberate: single bits of an array's type decide how its elements are read, not the whole type.
constexpr unsigned stringBit = 8;
constexpr unsigned integerBits = 1 | 2;

// Elements that own something can't be read as plain bytes.
constexpr USHORT owningFeatures = FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT | FADF_RECORD;

const SAFEARRAY* ArrayOf(const VARIANT& value) {
    if ((value.vt & VT_BYREF) == 0) {
        return value.parray;
    }
    return value.pparray == nullptr ? nullptr : *value.pparray;
}

// Elements are read with one index, which only an array of one dimension accepts.
bool HoldsStrings(const SAFEARRAY& array) {
    return array.cDims == 1 && array.cbElements == sizeof(BSTR) && (array.fFeatures & FADF_BSTR) != 0;
}

bool HoldsIntegers(const SAFEARRAY& array) {
    return array.cDims == 1 && array.cbElements == sizeof(LONG) && (array.fFeatures & owningFeatures) == 0;
}

std::optional<std::wstring> StringElement(const SAFEARRAY& array, LONG index) {
    BSTR element = nullptr;
    if (FAILED(SafeArrayGetElement(const_cast<SAFEARRAY*>(&array), &index, &element))) {
        return std::nullopt;
    }
    return BstrText(OwnedBstr(element).Get());
}

std::optional<std::wstring> IntegerElement(const SAFEARRAY& array, LONG index) {
    LONG element = 0;
    if (FAILED(SafeArrayGetElement(const_cast<SAFEARRAY*>(&array), &index, &element))) {
        return std::nullopt;
    }
    return IntegerToText(element);
}

// The elements from index 0 on, whatever the lower bound is. Elements that can't be read are skipped.
template <typename ReadElement>
std::wstring ElementsText(const SAFEARRAY& array, ReadElement readElement) {
    std::wstring text;
    bool isFirst = true;
    for (ULONG index = 0; index < array.rgsabound[0].cElements; ++index) {
        const std::optional<std::wstring> element = readElement(array, static_cast<LONG>(index));
        if (!element) {
            continue;
        }
        text += (isFirst ? L"" : L",") + *element;
        isFirst = false;
    }
    return text;
}

std::wstring ArrayToText(const VARIANT& value) {
    const SAFEARRAY* array = ArrayOf(value);
    std::wstring elements;
    if ((value.vt & stringBit) != 0) {
        if (array != nullptr && HoldsStrings(*array)) {
            elements = ElementsText(*array, StringElement);
        }
    } else if ((value.vt & integerBits) == 0) {
        return L"UNKNOWN ARRAY";
    } else if ((value.vt & integerBits) == integerBits) {
        if (array != nullptr && HoldsIntegers(*array)) {
            elements = ElementsText(*array, IntegerElement);
        }
    }
    return L"{" + elements + L"}";
}

} // namespace

std::wstring VariantToText(const VARIANT& value) {
    if ((value.vt & VT_ARRAY) != 0) {
        return ArrayToText(value);
    }
    switch (value.vt) {
    case VT_NULL:
        return L"NULL";
    case VT_I4:
        return IntegerToText(value.lVal);
    case VT_BSTR:
        return BstrText(value.bstrVal);
    case VT_BOOL:
        // Only VARIANT_TRUE is true; other values that are not 0 are not.
        return value.boolVal == VARIANT_TRUE ? L"TRUE" : L"FALSE";
    case VT_I1:
        return IntegerToText(static_cast<signed char>(value.cVal));
    case VT_UI1:
        return IntegerToText(value.bVal);
    case VT_UI2:
        return IntegerToText(value.uiVal);
    case VT_UI4:
        return IntegerToText(value.ulVal);
    case VT_I8:
        return IntegerToText(value.llVal);
    case VT_UI8:
        return IntegerToText(value.ullVal);
    case VT_INT:
        return IntegerToText(value.intVal);
    default:
        return L"UNKNOWN";
    }
}

} // namespace keyreap
