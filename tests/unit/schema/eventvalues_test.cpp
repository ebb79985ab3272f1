#include "tests/support/tracebuilder.h"
#include "trace/schema/eventvalues.h"

#include <gtest/gtest.h>

#include <memory>

namespace keyreap {
namespace {

// CIM types by their published numbers (wbemcli.h).
namespace cim {
constexpr std::uint32_t sint16 = 2;
constexpr std::uint32_t sint32 = 3;
constexpr std::uint32_t real32 = 4;
constexpr std::uint32_t real64 = 5;
constexpr std::uint32_t string = 8;
constexpr std::uint32_t boolean = 11;
constexpr std::uint32_t object = 13;
constexpr std::uint32_t sint8 = 16;
constexpr std::uint32_t uint8 = 17;
constexpr std::uint32_t uint16 = 18;
constexpr std::uint32_t uint32 = 19;
constexpr std::uint32_t sint64 = 20;
constexpr std::uint32_t uint64 = 21;
constexpr std::uint32_t datetime = 101;
constexpr std::uint32_t reference = 102;
constexpr std::uint32_t char16 = 103;
constexpr std::uint32_t arrayBit = 0x2000;
} // namespace cim

using Values = std::vector<std::vector<EventValue>>;

PropertyDescriptor Property(std::uint32_t cimType, PropertyQualifiers qualifiers = {}) {
    return {L"", cimType, std::move(qualifiers)};
}

PropertyDescriptor Array(std::uint32_t cimType, std::optional<std::int32_t> max) {
    PropertyQualifiers qualifiers;
    qualifiers.max = max;
    return Property(cimType | cim::arrayBit, qualifiers);
}

PropertyDescriptor Pointer(std::uint32_t cimType) {
    PropertyQualifiers qualifiers;
    qualifiers.pointer = true;
    return Property(cimType, qualifiers);
}

PropertyDescriptor WideText(std::optional<std::wstring> termination = {}) {
    PropertyQualifiers qualifiers;
    qualifiers.format = true;
    qualifiers.stringTermination = std::move(termination);
    return Property(cim::string, qualifiers);
}

PropertyDescriptor NarrowText(std::optional<std::wstring> termination = {}) {
    PropertyQualifiers qualifiers;
    qualifiers.stringTermination = std::move(termination);
    return Property(cim::string, qualifiers);
}

// A property after the tested one: its value shows where the cursor is.
const PropertyDescriptor next = Property(cim::uint8);

// Decodes a payload that ends where its memory ends, so that a sanitizer sees a byte read too far.
Values Decode(std::vector<PropertyDescriptor> properties, const PayloadBuilder& payload,
              std::uint32_t pointerSize = 8) {
    const std::size_t size = payload.bytes.size();
    const std::unique_ptr<std::byte[]> exact(new std::byte[size]);
    std::copy(payload.bytes.begin(), payload.bytes.end(), exact.get());
    const EventSchema schema{std::move(properties), pointerSize};
    EventValues values(schema);
    EXPECT_TRUE(DecodeValues(values, {exact.get(), size}));
    EXPECT_EQ(values.values.size(), schema.properties.size());
    return values.values;
}

// The bytes 0, 1, 2, ...: each is its own offset.
PayloadBuilder Ruler(std::uint8_t size) {
    PayloadBuilder payload;
    for (std::uint8_t i = 0; i < size; ++i) {
        payload.U8(i);
    }
    return payload;
}

// How far a property moves the cursor over a ruler.
std::uint64_t SizeOf(const PropertyDescriptor& property, std::uint32_t pointerSize = 8) {
    return Decode({property, next}, Ruler(64), pointerSize)[1].at(0).number;
}

struct NumberRow {
    std::uint32_t cimType;
    std::uint64_t size;
    ValueType type;
    std::uint64_t number; // if all bits are set
};

class NumberTypes : public testing::TestWithParam<NumberRow> {};

TEST_P(NumberTypes, HaveTheirSizeAndValueType) {
    const NumberRow& row = GetParam();
    EXPECT_EQ(SizeOf(Property(row.cimType)), row.size);
    const Values values = Decode({Property(row.cimType)}, PayloadBuilder().U64(~std::uint64_t{0}));
    ASSERT_EQ(values[0].size(), 1U);
    EXPECT_EQ(values[0][0].type, row.type);
    EXPECT_EQ(values[0][0].number, row.number);
    EXPECT_EQ(values[0][0].text, L"");
}

TEST_P(NumberTypes, GiveNoValueWhenTheirLastByteIsMissing) {
    const NumberRow& row = GetParam();
    const Values values = Decode({Property(row.cimType)}, Ruler(static_cast<std::uint8_t>(row.size - 1)));
    EXPECT_TRUE(values[0].empty());
}

INSTANTIATE_TEST_SUITE_P(DecodeValues, NumberTypes,
                         testing::Values(NumberRow{cim::sint8, 1, ValueType::i1, 0xFF},
                                         NumberRow{cim::uint8, 1, ValueType::ui1, 0xFF},
                                         NumberRow{cim::sint16, 2, ValueType::i2, 0xFFFF},
                                         NumberRow{cim::uint16, 2, ValueType::ui2, 0xFFFF},
                                         NumberRow{cim::sint32, 4, ValueType::i4, 0xFFFFFFFF},
                                         NumberRow{cim::uint32, 4, ValueType::ui4, 0xFFFFFFFF},
                                         NumberRow{cim::sint64, 8, ValueType::i8, ~std::uint64_t{0}},
                                         NumberRow{cim::uint64, 8, ValueType::ui8, ~std::uint64_t{0}},
                                         NumberRow{cim::boolean, 4, ValueType::integer, 0xFFFFFFFF},
                                         NumberRow{cim::char16, 2, ValueType::integer, 0xFFFF}));

TEST(DecodeValues, OtherTypesMoveNothingAndGiveNoValue) {
    for (const std::uint32_t type : {cim::real32, cim::real64, cim::datetime, cim::reference, 0U, 4095U}) {
        EXPECT_EQ(SizeOf(Property(type)), 0U) << type;
        EXPECT_TRUE(Decode({Property(type)}, Ruler(32))[0].empty()) << type;
    }
}

TEST(DecodeValues, ObjectMovesTheCursorBySixteenBytesOnlyIfItsExtensionIsGuid) {
    PropertyQualifiers qualifiers;
    EXPECT_EQ(SizeOf(Property(cim::object, qualifiers)), 0U);
    qualifiers.extension = L"gUID";
    EXPECT_EQ(SizeOf(Property(cim::object, qualifiers)), 16U);
    EXPECT_TRUE(Decode({Property(cim::object, qualifiers)}, Ruler(32))[0].empty());
    qualifiers.extension = L"Sid";
    EXPECT_EQ(SizeOf(Property(cim::object, qualifiers)), 0U);
}

TEST(DecodeValues, ArrayOfObjectsMovesTheCursorForEachElement) {
    PropertyDescriptor guids = Array(cim::object, 2);
    guids.qualifiers.extension = L"Guid";
    EXPECT_EQ(SizeOf(guids), 32U);
    EXPECT_TRUE(Decode({guids}, Ruler(64))[0].empty());
}

TEST(DecodeValues, PointerIsReadInTheWidthOfTheSchema) {
    const Values narrow = Decode({Pointer(cim::uint64)}, Ruler(8), 4);
    EXPECT_EQ(narrow[0].at(0).type, ValueType::ui4);
    EXPECT_EQ(narrow[0].at(0).number, 0x03020100U);
    const Values wide = Decode({Pointer(cim::uint64)}, Ruler(8), 8);
    EXPECT_EQ(wide[0].at(0).type, ValueType::ui8);
    EXPECT_EQ(wide[0].at(0).number, 0x0706050403020100U);
}

TEST(DecodeValues, AnyPointerSizeBut4ReadsEightBytes) {
    for (const std::uint32_t pointerSize : {0U, 2U, 8U, 16U}) {
        EXPECT_EQ(SizeOf(Pointer(cim::uint32), pointerSize), 8U) << pointerSize;
    }
}

TEST(DecodeValues, PointerTakesPrecedenceOverTheCimType) {
    EXPECT_EQ(SizeOf(Pointer(cim::uint32), 8), 8U);
    EXPECT_EQ(Decode({Pointer(cim::uint32)}, Ruler(8), 8)[0].at(0).type, ValueType::ui8);
    EXPECT_EQ(SizeOf(Pointer(cim::string), 4), 4U);
    EXPECT_EQ(SizeOf(Pointer(cim::object), 4), 4U);
}

TEST(DecodeValues, PointerTakesPrecedenceOverTheArray) {
    PropertyDescriptor pointers = Array(cim::uint8, 3);
    pointers.qualifiers.pointer = true;
    const Values values = Decode({pointers, next}, Ruler(64), 8);
    EXPECT_EQ(values[0].size(), 1U);
    EXPECT_EQ(values[1].at(0).number, 8U);
}

TEST(DecodeValues, ArrayHasAsManyValuesAsMaxSays) {
    const Values values = Decode({Array(cim::uint16, 3), next}, Ruler(64));
    ASSERT_EQ(values[0].size(), 3U);
    EXPECT_EQ(values[0][0].number, 0x0100U);
    EXPECT_EQ(values[0][2].number, 0x0504U);
    EXPECT_EQ(values[0][2].type, ValueType::ui2);
    EXPECT_EQ(values[1].at(0).number, 6U);
}

TEST(DecodeValues, ArrayWithoutReadableMaxHasNoValueAndMovesNothing) {
    const Values values = Decode({Array(cim::uint16, std::nullopt), next}, Ruler(64));
    EXPECT_TRUE(values[0].empty());
    EXPECT_EQ(values[1].at(0).number, 0U);
}

TEST(DecodeValues, MaxBelowOneReadsNothing) {
    for (const std::int32_t max : {0, -1, INT32_MIN}) {
        const Values values = Decode({Array(cim::uint16, max), next}, Ruler(64));
        EXPECT_TRUE(values[0].empty()) << max;
        EXPECT_EQ(values[1].at(0).number, 0U) << max;
    }
}

TEST(DecodeValues, MaxWithoutTheArrayBitDoesNotCount) {
    PropertyQualifiers qualifiers;
    qualifiers.max = 3;
    EXPECT_EQ(Decode({Property(cim::uint16, qualifiers)}, Ruler(64))[0].size(), 1U);
}

TEST(DecodeValues, ArrayThatRunsPastTheEndKeepsItsCompleteElements) {
    const Values values = Decode({Array(cim::uint16, 100), next}, Ruler(5));
    EXPECT_EQ(values[0].size(), 2U);
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, HugeArrayOfNothingEnds) {
    EXPECT_TRUE(Decode({Array(cim::uint64, INT32_MAX)}, Ruler(4))[0].empty());
    EXPECT_TRUE(Decode({Array(cim::real64, INT32_MAX)}, Ruler(4))[0].empty());
    EXPECT_TRUE(Decode({Array(cim::string, INT32_MAX)}, PayloadBuilder().Narrow("ab"))[0].empty());
}

TEST(DecodeValues, HugeArrayOfTextsThatTakeNoByteEnds) {
    for (const wchar_t* termination : {L"NotCounted", L"of no known kind"}) {
        for (PropertyDescriptor text : {WideText(termination), NarrowText(termination)}) {
            text.cimType |= cim::arrayBit;
            text.qualifiers.max = 3;
            EXPECT_EQ(Decode({text}, PayloadBuilder())[0].size(), 3U);
            text.qualifiers.max = INT32_MAX;
            EXPECT_EQ(Decode({text}, PayloadBuilder())[0].size(), 0x10000U);
        }
    }
}

TEST(DecodeValues, CursorMovesPastAnIncompleteField) {
    // A 64-bit number does not fit in four bytes, and the next property must not read them.
    const Values values = Decode({Property(cim::uint64), next}, Ruler(4));
    EXPECT_TRUE(values[0].empty());
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, EmptyPayloadGivesEachPropertyAnEmptyList) {
    const Values values = Decode({Property(cim::uint32), WideText(), Pointer(cim::uint32)}, {});
    EXPECT_TRUE(values[0].empty());
    EXPECT_TRUE(values[1].empty());
    EXPECT_TRUE(values[2].empty());
}

TEST(DecodeValues, WideTextIsReadUpToItsNul) {
    for (const auto& termination :
         {std::optional<std::wstring>{}, std::optional<std::wstring>{L"nullTERMINATED"}}) {
        const Values values = Decode({WideText(termination), next}, PayloadBuilder().WideZ(L"Key").U8(7));
        EXPECT_EQ(values[0].at(0).type, ValueType::bstr);
        EXPECT_EQ(values[0].at(0).text, L"Key");
        EXPECT_EQ(values[1].at(0).number, 7U);
    }
}

TEST(DecodeValues, EmptyWideTextIsAValue) {
    const Values values = Decode({WideText(), next}, PayloadBuilder().WideZ(L"").U8(7));
    EXPECT_EQ(values[0].at(0).text, L"");
    EXPECT_EQ(values[1].at(0).number, 7U);
}

TEST(DecodeValues, WideTextWithoutNulGivesNoValueAndEndsThePayload) {
    for (const std::size_t odd : {0U, 1U}) {
        const Values values = Decode({WideText(), next}, PayloadBuilder().Wide(L"Key").Zeros(odd));
        EXPECT_TRUE(values[0].empty());
        EXPECT_TRUE(values[1].empty());
    }
}

TEST(DecodeValues, CountedWideTextBeginsWithItsCount) {
    const Values values = Decode({WideText(L"COUNTED"), next}, PayloadBuilder().U16(3).Wide(L"KeyX").U8(7));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_EQ(values[1].at(0).number, std::uint64_t{'X'});
}

TEST(DecodeValues, CountedWideTextEndsAtItsNulButTheCursorMovesByTheWholeCount) {
    const Values values =
        Decode({WideText(L"Counted"), next}, PayloadBuilder().U16(5).Wide(L"ab").U16(0).Wide(L"cd").U8(7));
    EXPECT_EQ(values[0].at(0).text, L"ab");
    EXPECT_EQ(values[1].at(0).number, 7U);
}

TEST(DecodeValues, ReverseCountedTextHasTheBytesOfItsCountSwapped) {
    const Values values =
        Decode({WideText(L"reverseCounted"), next}, PayloadBuilder().U8(0).U8(3).Wide(L"Key").U8(7));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_EQ(values[1].at(0).number, 7U);
    const Values narrow =
        Decode({NarrowText(L"ReverseCounted"), next}, PayloadBuilder().U8(0).U8(3).Narrow("Key").U8(7));
    EXPECT_EQ(narrow[0].at(0).text, L"Key");
    EXPECT_EQ(narrow[1].at(0).number, 7U);
}

TEST(DecodeValues, CountOfZeroIsAnEmptyText) {
    for (const PropertyDescriptor& text : {WideText(L"Counted"), NarrowText(L"Counted")}) {
        const Values values = Decode({text, next}, PayloadBuilder().U16(0).U8(7));
        ASSERT_EQ(values[0].size(), 1U);
        EXPECT_EQ(values[0][0].text, L"");
        EXPECT_EQ(values[1].at(0).number, 7U);
    }
}

TEST(DecodeValues, CountedTextThatRunsPastTheEndGivesNoValue) {
    for (const PropertyDescriptor& text : {WideText(L"Counted"), NarrowText(L"Counted")}) {
        const Values values = Decode({text, next}, PayloadBuilder().U16(9).Wide(L"Key"));
        EXPECT_TRUE(values[0].empty());
        EXPECT_TRUE(values[1].empty());
    }
}

TEST(DecodeValues, CountedWideTextWithItsNulInsideIsCompleteForAnyCount) {
    const Values values = Decode({WideText(L"Counted"), next}, PayloadBuilder().U16(0xFFFF).WideZ(L"Key"));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, IncompleteCountGivesNoValue) {
    const Values values = Decode({WideText(L"Counted"), next}, PayloadBuilder().U8(1));
    EXPECT_TRUE(values[0].empty());
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, NotCountedTextIsTheRestOfThePayload) {
    const Values wide = Decode({next, WideText(L"notcounted"), next}, PayloadBuilder().U8(1).Wide(L"Key"));
    EXPECT_EQ(wide[1].at(0).text, L"Key");
    EXPECT_TRUE(wide[2].empty());
    const Values narrow =
        Decode({next, NarrowText(L"NotCounted"), next}, PayloadBuilder().U8(1).Narrow("Key"));
    EXPECT_EQ(narrow[1].at(0).text, L"Key");
    EXPECT_TRUE(narrow[2].empty());
}

TEST(DecodeValues, NotCountedWideTextEndsAtItsNulAndTheCursorAtTheEnd) {
    const Values values =
        Decode({WideText(L"NotCounted"), next}, PayloadBuilder().WideZ(L"Key").Wide(L"next"));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, OtherTerminationIsACountOfZero) {
    for (const wchar_t* word : {L"Dollar", L"", L"Counted "}) {
        for (const PropertyDescriptor& text : {WideText(word), NarrowText(word)}) {
            const Values values = Decode({text, next}, PayloadBuilder().U8(9).Wide(L"Key"));
            ASSERT_EQ(values[0].size(), 1U);
            EXPECT_EQ(values[0][0].text, L"");
            EXPECT_EQ(values[1].at(0).number, 9U);
        }
    }
}

TEST(DecodeValues, CountedNarrowTextHasAsManyBytesAsItsCount) {
    const Values values = Decode({NarrowText(L"Counted"), next}, PayloadBuilder().U16(3).Narrow("KeyX"));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_EQ(values[1].at(0).number, std::uint64_t{'X'});
}

TEST(DecodeValues, NarrowTextUpToItsNulMovesByTwo) {
    const Values values = Decode({NarrowText(), next}, PayloadBuilder().Narrow("Key").U8(0).U8(7));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_EQ(values[1].at(0).number, std::uint64_t{'y'});
}

TEST(DecodeValues, EmptyNarrowTextMovesByOne) {
    const Values values = Decode({NarrowText(), next}, PayloadBuilder().U8(0).U8(7));
    EXPECT_EQ(values[0].at(0).text, L"");
    EXPECT_EQ(values[1].at(0).number, 7U);
}

TEST(DecodeValues, NarrowTextWithoutNulGivesNoValueAndStillMovesByTwo) {
    const Values values = Decode({NarrowText(), next}, PayloadBuilder().Narrow("Key"));
    EXPECT_TRUE(values[0].empty());
    EXPECT_EQ(values[1].at(0).number, std::uint64_t{'y'});
}

TEST(DecodeValues, ArrayOfTextsIsReadTextByText) {
    PropertyDescriptor texts = Array(cim::string, 2);
    texts.qualifiers.format = true;
    const Values values = Decode({texts, next}, PayloadBuilder().WideZ(L"a").WideZ(L"bc").U8(7));
    ASSERT_EQ(values[0].size(), 2U);
    EXPECT_EQ(values[0][0].text, L"a");
    EXPECT_EQ(values[0][1].text, L"bc");
    EXPECT_EQ(values[1].at(0).number, 7U);
}

TEST(DecodeValues, RegistryEventOfVersion2IsReadByItsClass) {
    PropertyQualifiers name;
    name.format = true;
    name.stringTermination = L"NullTerminated";
    const Values values = Decode({Property(cim::sint64), Property(cim::uint32), Property(cim::uint32),
                                  Pointer(cim::uint32), Property(cim::string, name)},
                                 PayloadBuilder().U64(9).U32(5).U32(7).U64(0x1000).WideZ(L"Name"), 8);
    EXPECT_EQ(values[0].at(0).number, 9U);
    EXPECT_EQ(values[1].at(0).number, 5U);
    EXPECT_EQ(values[2].at(0).number, 7U);
    EXPECT_EQ(values[3].at(0).number, 0x1000U);
    EXPECT_EQ(values[4].at(0).text, L"Name");
}

TEST(FindProperty, FindsTheFirstOfTheNameInAnyCase) {
    EventSchema schema;
    for (const wchar_t* name : {L"Status", L"KEYHANDLE", L"KeyHandle"}) {
        PropertyDescriptor property;
        property.name = name;
        schema.properties.push_back(property);
    }
    const EventValues values(schema);
    EXPECT_EQ(FindProperty(values, L"keyhandle"), 1);
    EXPECT_EQ(FindProperty(values, L"status"), 0);
}

TEST(FindProperty, UnknownNameIsMinusOne) {
    const EventSchema schema;
    EXPECT_EQ(FindProperty(EventValues(schema), L"KeyHandle"), -1);
}

} // namespace
} // namespace keyreap
