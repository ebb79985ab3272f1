#include "platform/core/text/bstrtext.h"
#include "platform/core/text/varianttext.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace keyreap {
namespace {

VARIANT Typed(VARTYPE type) {
    VARIANT value;
    VariantInit(&value);
    value.vt = type;
    return value;
}

template <typename Member, typename Value>
std::wstring TextOf(VARTYPE type, Member member, Value content) {
    VARIANT value = Typed(type);
    value.*member = static_cast<std::remove_reference_t<decltype(value.*member)>>(content);
    return VariantToText(value);
}

using OwnedArray = Owned<ClosedBy<SAFEARRAY*, SafeArrayDestroy>>;

OwnedArray Strings(std::initializer_list<const wchar_t*> texts, LONG lowerBound = 0) {
    OwnedArray array(SafeArrayCreateVector(VT_BSTR, lowerBound, static_cast<ULONG>(texts.size())));
    LONG index = lowerBound;
    for (const wchar_t* text : texts) {
        const OwnedBstr string(SysAllocString(text));
        EXPECT_EQ(SafeArrayPutElement(array.Get(), &index, string.Get()), S_OK);
        ++index;
    }
    return array;
}

template <typename Element>
OwnedArray Numbers(VARTYPE type, std::initializer_list<Element> numbers, LONG lowerBound = 0) {
    OwnedArray array(SafeArrayCreateVector(type, lowerBound, static_cast<ULONG>(numbers.size())));
    LONG index = lowerBound;
    for (Element number : numbers) {
        EXPECT_EQ(SafeArrayPutElement(array.Get(), &index, &number), S_OK);
        ++index;
    }
    return array;
}

// The text of a variant that claims `type` for the array, whatever the array really contains.
std::wstring ArrayText(VARTYPE type, const OwnedArray& array) {
    VARIANT value = Typed(static_cast<VARTYPE>(VT_ARRAY | type));
    value.parray = array.Get();
    return VariantToText(value);
}

TEST(VariantToText, NullIsTheWord) {
    EXPECT_EQ(VariantToText(Typed(VT_NULL)), L"NULL");
}

TEST(VariantToText, IntegersAreDecimalInTheirOwnWidthAndSign) {
    EXPECT_EQ(TextOf(VT_I4, &VARIANT::lVal, -2147483647 - 1), L"-2147483648");
    EXPECT_EQ(TextOf(VT_I1, &VARIANT::cVal, -128), L"-128");
    EXPECT_EQ(TextOf(VT_I1, &VARIANT::cVal, 65), L"65");
    EXPECT_EQ(TextOf(VT_UI1, &VARIANT::bVal, 255), L"255");
    EXPECT_EQ(TextOf(VT_UI2, &VARIANT::uiVal, 65535), L"65535");
    EXPECT_EQ(TextOf(VT_UI4, &VARIANT::ulVal, 0xFFFFFFFF), L"4294967295");
    EXPECT_EQ(TextOf(VT_I8, &VARIANT::llVal, std::numeric_limits<LONGLONG>::min()), L"-9223372036854775808");
    EXPECT_EQ(TextOf(VT_UI8, &VARIANT::ullVal, std::numeric_limits<ULONGLONG>::max()),
              L"18446744073709551615");
    EXPECT_EQ(TextOf(VT_INT, &VARIANT::intVal, -7), L"-7");
}

TEST(VariantToText, OnlyAllBitsSetIsTrue) {
    EXPECT_EQ(TextOf(VT_BOOL, &VARIANT::boolVal, -1), L"TRUE");
    EXPECT_EQ(TextOf(VT_BOOL, &VARIANT::boolVal, 0), L"FALSE");
    EXPECT_EQ(TextOf(VT_BOOL, &VARIANT::boolVal, 1), L"FALSE");
    EXPECT_EQ(TextOf(VT_BOOL, &VARIANT::boolVal, -2), L"FALSE");
}

TEST(VariantToText, AStringIsItselfWhole) {
    const OwnedBstr text(SysAllocString(L"a \"b\""));
    EXPECT_EQ(TextOf(VT_BSTR, &VARIANT::bstrVal, text.Get()), L"a \"b\"");
    const OwnedBstr withZero(SysAllocStringLen(L"a\0b", 3));
    EXPECT_EQ(TextOf(VT_BSTR, &VARIANT::bstrVal, withZero.Get()), std::wstring(L"a\0b", 3));
    EXPECT_EQ(TextOf(VT_BSTR, &VARIANT::bstrVal, static_cast<BSTR>(nullptr)), L"");
}

TEST(VariantToText, EveryOtherTypeIsUnknown) {
    for (const int type : {0, 2, 4, 5, 6, 7, 9, 10, 12, 13, 14, 15, 23, 24, 36, VT_BYREF | VT_BSTR,
                           VT_BYREF | VT_I4, 0x1000 | VT_I4}) {
        EXPECT_EQ(VariantToText(Typed(static_cast<VARTYPE>(type))), L"UNKNOWN") << type;
    }
}

TEST(VariantToText, StringsAreJoinedWithCommas) {
    EXPECT_EQ(ArrayText(VT_BSTR, Strings({L"a", L"b"})), L"{a,b}");
    EXPECT_EQ(ArrayText(VT_BSTR, Strings({L"", L"b", L""})), L"{,b,}");
    EXPECT_EQ(ArrayText(VT_BSTR, Strings({L"one"})), L"{one}");
}

TEST(VariantToText, AnEmptyArrayIsAPairOfBraces) {
    EXPECT_EQ(ArrayText(VT_BSTR, Strings({})), L"{}");
    EXPECT_EQ(ArrayText(VT_I4, Numbers<LONG>(VT_I4, {})), L"{}");
    EXPECT_EQ(ArrayText(VT_BSTR, OwnedArray()), L"{}");
    EXPECT_EQ(ArrayText(VT_I4, OwnedArray()), L"{}");
}

TEST(VariantToText, ThirtyTwoBitIntegersAreSignedDecimals) {
    EXPECT_EQ(ArrayText(VT_I4, Numbers<LONG>(VT_I4, {1, -2, 0})), L"{1,-2,0}");
    EXPECT_EQ(ArrayText(VT_UI4, Numbers<ULONG>(VT_UI4, {0xFFFFFFFF})), L"{-1}");
    EXPECT_EQ(ArrayText(VT_UINT, Numbers<UINT>(VT_UINT, {7})), L"{7}");
}

TEST(VariantToText, OneOfTheTwoIntegerBitsAloneReadsNoElement) {
    EXPECT_EQ(ArrayText(VT_I2, Numbers<SHORT>(VT_I2, {1, 2})), L"{}");
    EXPECT_EQ(ArrayText(VT_UI1, Numbers<BYTE>(VT_UI1, {1, 2})), L"{}");
    EXPECT_EQ(ArrayText(VT_INT, Numbers<INT>(VT_INT, {1, 2})), L"{}");
    EXPECT_EQ(ArrayText(VT_R8, Numbers<double>(VT_R8, {1.0})), L"{}");
}

TEST(VariantToText, AnArrayWithNoneOfTheBitsIsUnknown) {
    EXPECT_EQ(ArrayText(VT_R4, Numbers<float>(VT_R4, {1.0F})), L"UNKNOWN ARRAY");
    EXPECT_EQ(ArrayText(VT_I1, Numbers<CHAR>(VT_I1, {1})), L"UNKNOWN ARRAY");
    EXPECT_EQ(ArrayText(VT_I8, Numbers<LONGLONG>(VT_I8, {1})), L"UNKNOWN ARRAY");
    EXPECT_EQ(ArrayText(VT_EMPTY, OwnedArray()), L"UNKNOWN ARRAY");
}

TEST(VariantToText, ElementsCountFromZeroWhateverTheLowerBound) {
    // The element 0 doesn't exist and is skipped; the element 2 is beyond the count.
    EXPECT_EQ(ArrayText(VT_BSTR, Strings({L"a", L"b"}, 1)), L"{a}");
    EXPECT_EQ(ArrayText(VT_I4, Numbers<LONG>(VT_I4, {5, 6}, 1)), L"{5}");
    EXPECT_EQ(ArrayText(VT_I4, Numbers<LONG>(VT_I4, {5, 6}, -1)), L"{6}");
}

TEST(VariantToText, ATypeWithTheStringBitReadsNothingButStrings) {
    EXPECT_EQ(ArrayText(VT_BOOL, Numbers<VARIANT_BOOL>(VT_BOOL, {-1, 0})), L"{}");
    EXPECT_EQ(ArrayText(VT_DECIMAL, Numbers<DECIMAL>(VT_DECIMAL, {DECIMAL{}})), L"{}");
    EXPECT_EQ(ArrayText(VT_BSTR, Numbers<LONGLONG>(VT_I8, {0x4141414141414141})), L"{}");
    EXPECT_EQ(ArrayText(VT_BSTR, Numbers<LONG>(VT_I4, {0x41414141})), L"{}");
    EXPECT_EQ(ArrayText(0x18, Numbers<LONGLONG>(VT_I8, {1})), L"{}");
}

TEST(VariantToText, UnknownObjectsAndVariantsAreNoStrings) {
    const OwnedArray variants(SafeArrayCreateVector(VT_VARIANT, 0, 2));
    EXPECT_EQ(ArrayText(VT_VARIANT, variants), L"{}");
    const OwnedArray objects(SafeArrayCreateVector(VT_UNKNOWN, 0, 2));
    EXPECT_EQ(ArrayText(VT_UNKNOWN, objects), L"{}");
}

TEST(VariantToText, ATypeWithBothIntegerBitsReadsNothingOfAnotherSize) {
    EXPECT_EQ(ArrayText(VT_DATE, Numbers<double>(VT_DATE, {1.0})), L"{}");
    EXPECT_EQ(ArrayText(VT_I4, Numbers<SHORT>(VT_I2, {1, 2})), L"{}");
    EXPECT_EQ(ArrayText(VT_I4, Numbers<LONGLONG>(VT_I8, {1})), L"{}");
    // A pointer has the size of an integer in the 32-bit build, but is not one.
    EXPECT_EQ(ArrayText(VT_I4, Strings({L"a"})), L"{}");
}

TEST(VariantToText, AnArrayOfSeveralDimensionsHasNoElementUnderOneIndex) {
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    const OwnedArray strings(SafeArrayCreate(VT_BSTR, 2, bounds));
    EXPECT_EQ(ArrayText(VT_BSTR, strings), L"{}");
    const OwnedArray numbers(SafeArrayCreate(VT_I4, 2, bounds));
    EXPECT_EQ(ArrayText(VT_I4, numbers), L"{}");
}

TEST(VariantToText, AnArrayByReferenceIsReadThroughIt) {
    const OwnedArray strings = Strings({L"a", L"b"});
    SAFEARRAY* array = strings.Get();
    VARIANT value = Typed(VT_ARRAY | VT_BYREF | VT_BSTR);
    value.pparray = &array;
    EXPECT_EQ(VariantToText(value), L"{a,b}");
    value.pparray = nullptr;
    EXPECT_EQ(VariantToText(value), L"{}");
}

TEST(VariantToText, LeavesTheArrayAlone) {
    const OwnedArray strings = Strings({L"a"});
    ArrayText(VT_BSTR, strings);
    EXPECT_EQ(ArrayText(VT_BSTR, strings), L"{a}");
    EXPECT_EQ(strings.Get()->cLocks, 0U);
}

} // namespace
} // namespace keyreap
