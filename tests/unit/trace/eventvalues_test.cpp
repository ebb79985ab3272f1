#include "trace/eventvalues.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/tracebuilder.h"

namespace keyreap {
namespace {

// CIM types by their published numbers (wbemcli.h).
namespace cim {
constexpr std::uint32_t SINT16 = 2;
constexpr std::uint32_t SINT32 = 3;
constexpr std::uint32_t REAL32 = 4;
constexpr std::uint32_t REAL64 = 5;
constexpr std::uint32_t STRING = 8;
constexpr std::uint32_t BOOLEAN = 11;
constexpr std::uint32_t OBJECT = 13;
constexpr std::uint32_t SINT8 = 16;
constexpr std::uint32_t UINT8 = 17;
constexpr std::uint32_t UINT16 = 18;
constexpr std::uint32_t UINT32 = 19;
constexpr std::uint32_t SINT64 = 20;
constexpr std::uint32_t UINT64 = 21;
constexpr std::uint32_t DATETIME = 101;
constexpr std::uint32_t REFERENCE = 102;
constexpr std::uint32_t CHAR16 = 103;
constexpr std::uint32_t ARRAY = 0x2000;
} // namespace cim

using Values = std::vector<std::vector<EventValue>>;

PropertyDescriptor Property(std::uint32_t cimType, PropertyQualifiers qualifiers = {}) {
    return {L"", cimType, std::move(qualifiers)};
}

PropertyDescriptor Array(std::uint32_t cimType, std::optional<std::int32_t> max) {
    PropertyQualifiers qualifiers;
    qualifiers.max = max;
    return Property(cimType | cim::ARRAY, qualifiers);
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
    return Property(cim::STRING, qualifiers);
}

PropertyDescriptor NarrowText(std::optional<std::wstring> termination = {}) {
    PropertyQualifiers qualifiers;
    qualifiers.stringTermination = std::move(termination);
    return Property(cim::STRING, qualifiers);
}

// What stands behind a property, to tell where it left the cursor.
const PropertyDescriptor BEHIND = Property(cim::UINT8);

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

// The bytes 0, 1, 2, ..., which tell their own place.
PayloadBuilder Ruler(std::uint8_t size) {
    PayloadBuilder payload;
    for (std::uint8_t i = 0; i < size; ++i) {
        payload.U8(i);
    }
    return payload;
}

// How far a property moves the cursor over a ruler.
std::uint64_t SizeOf(const PropertyDescriptor& property, std::uint32_t pointerSize = 8) {
    return Decode({property, BEHIND}, Ruler(64), pointerSize)[1].at(0).number;
}

struct NumberRow {
    std::uint32_t cimType;
    std::uint64_t size;
    ValueType type;
    std::uint64_t number; // of all bits set
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
                         testing::Values(NumberRow{cim::SINT8, 1, ValueType::i1, 0xFF},
                                         NumberRow{cim::UINT8, 1, ValueType::ui1, 0xFF},
                                         NumberRow{cim::SINT16, 2, ValueType::i2, 0xFFFF},
                                         NumberRow{cim::UINT16, 2, ValueType::ui2, 0xFFFF},
                                         NumberRow{cim::SINT32, 4, ValueType::i4, 0xFFFFFFFF},
                                         NumberRow{cim::UINT32, 4, ValueType::ui4, 0xFFFFFFFF},
                                         NumberRow{cim::SINT64, 8, ValueType::i8, ~std::uint64_t{0}},
                                         NumberRow{cim::UINT64, 8, ValueType::ui8, ~std::uint64_t{0}},
                                         NumberRow{cim::BOOLEAN, 4, ValueType::integer, 0xFFFFFFFF},
                                         NumberRow{cim::CHAR16, 2, ValueType::integer, 0xFFFF}));

TEST(DecodeValues, OtherTypesMoveNothingAndGiveNoValue) {
    for (const std::uint32_t type : {cim::REAL32, cim::REAL64, cim::DATETIME, cim::REFERENCE, 0U, 4095U}) {
        EXPECT_EQ(SizeOf(Property(type)), 0U) << type;
        EXPECT_TRUE(Decode({Property(type)}, Ruler(32))[0].empty()) << type;
    }
}

TEST(DecodeValues, ObjectMovesSixteenBytesOnlyIfItsExtensionIsGuid) {
    PropertyQualifiers qualifiers;
    EXPECT_EQ(SizeOf(Property(cim::OBJECT, qualifiers)), 0U);
    qualifiers.extension = L"gUID";
    EXPECT_EQ(SizeOf(Property(cim::OBJECT, qualifiers)), 16U);
    EXPECT_TRUE(Decode({Property(cim::OBJECT, qualifiers)}, Ruler(32))[0].empty());
    qualifiers.extension = L"Sid";
    EXPECT_EQ(SizeOf(Property(cim::OBJECT, qualifiers)), 0U);
}

TEST(DecodeValues, ArrayOfObjectsMovesOverEachOfThem) {
    PropertyDescriptor guids = Array(cim::OBJECT, 2);
    guids.qualifiers.extension = L"Guid";
    EXPECT_EQ(SizeOf(guids), 32U);
    EXPECT_TRUE(Decode({guids}, Ruler(64))[0].empty());
}

TEST(DecodeValues, PointerIsReadInTheWidthOfTheSchema) {
    const Values narrow = Decode({Pointer(cim::UINT64)}, Ruler(8), 4);
    EXPECT_EQ(narrow[0].at(0).type, ValueType::ui4);
    EXPECT_EQ(narrow[0].at(0).number, 0x03020100U);
    const Values wide = Decode({Pointer(cim::UINT64)}, Ruler(8), 8);
    EXPECT_EQ(wide[0].at(0).type, ValueType::ui8);
    EXPECT_EQ(wide[0].at(0).number, 0x0706050403020100U);
}

TEST(DecodeValues, AnyPointerSizeBut4ReadsEightBytes) {
    for (const std::uint32_t pointerSize : {0U, 2U, 8U, 16U}) {
        EXPECT_EQ(SizeOf(Pointer(cim::UINT32), pointerSize), 8U) << pointerSize;
    }
}

TEST(DecodeValues, PointerBeatsTheCimType) {
    EXPECT_EQ(SizeOf(Pointer(cim::UINT32), 8), 8U);
    EXPECT_EQ(Decode({Pointer(cim::UINT32)}, Ruler(8), 8)[0].at(0).type, ValueType::ui8);
    EXPECT_EQ(SizeOf(Pointer(cim::STRING), 4), 4U);
    EXPECT_EQ(SizeOf(Pointer(cim::OBJECT), 4), 4U);
}

TEST(DecodeValues, PointerBeatsTheArray) {
    PropertyDescriptor pointers = Array(cim::UINT8, 3);
    pointers.qualifiers.pointer = true;
    const Values values = Decode({pointers, BEHIND}, Ruler(64), 8);
    EXPECT_EQ(values[0].size(), 1U);
    EXPECT_EQ(values[1].at(0).number, 8U);
}

TEST(DecodeValues, ArrayHasAsManyValuesAsMaxSays) {
    const Values values = Decode({Array(cim::UINT16, 3), BEHIND}, Ruler(64));
    ASSERT_EQ(values[0].size(), 3U);
    EXPECT_EQ(values[0][0].number, 0x0100U);
    EXPECT_EQ(values[0][2].number, 0x0504U);
    EXPECT_EQ(values[0][2].type, ValueType::ui2);
    EXPECT_EQ(values[1].at(0).number, 6U);
}

TEST(DecodeValues, ArrayWithoutReadableMaxHasNoValueAndStaysWhereItIs) {
    const Values values = Decode({Array(cim::UINT16, std::nullopt), BEHIND}, Ruler(64));
    EXPECT_TRUE(values[0].empty());
    EXPECT_EQ(values[1].at(0).number, 0U);
}

TEST(DecodeValues, MaxBelowOneReadsNothing) {
    for (const std::int32_t max : {0, -1, INT32_MIN}) {
        const Values values = Decode({Array(cim::UINT16, max), BEHIND}, Ruler(64));
        EXPECT_TRUE(values[0].empty()) << max;
        EXPECT_EQ(values[1].at(0).number, 0U) << max;
    }
}

TEST(DecodeValues, MaxWithoutTheArrayBitDoesNotCount) {
    PropertyQualifiers qualifiers;
    qualifiers.max = 3;
    EXPECT_EQ(Decode({Property(cim::UINT16, qualifiers)}, Ruler(64))[0].size(), 1U);
}

TEST(DecodeValues, ArrayThatRunsPastTheEndKeepsWhatLiesInside) {
    const Values values = Decode({Array(cim::UINT16, 100), BEHIND}, Ruler(5));
    EXPECT_EQ(values[0].size(), 2U);
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, HugeArrayOfNothingEnds) {
    EXPECT_TRUE(Decode({Array(cim::UINT64, INT32_MAX)}, Ruler(4))[0].empty());
    EXPECT_TRUE(Decode({Array(cim::REAL64, INT32_MAX)}, Ruler(4))[0].empty());
    EXPECT_TRUE(Decode({Array(cim::STRING, INT32_MAX)}, PayloadBuilder().Narrow("ab"))[0].empty());
}

TEST(DecodeValues, CursorMovesOnBehindAFieldThatIsNotWhole) {
    // Four bytes do not hold the 64-bit number, and nothing behind it is read out of them.
    const Values values = Decode({Property(cim::UINT64), BEHIND}, Ruler(4));
    EXPECT_TRUE(values[0].empty());
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, EmptyPayloadGivesEachPropertyAnEmptyList) {
    const Values values = Decode({Property(cim::UINT32), WideText(), Pointer(cim::UINT32)}, {});
    EXPECT_TRUE(values[0].empty());
    EXPECT_TRUE(values[1].empty());
    EXPECT_TRUE(values[2].empty());
}

TEST(DecodeValues, WideTextIsReadUpToItsNul) {
    for (const auto& termination :
         {std::optional<std::wstring>{}, std::optional<std::wstring>{L"nullTERMINATED"}}) {
        const Values values = Decode({WideText(termination), BEHIND}, PayloadBuilder().WideZ(L"Key").U8(7));
        EXPECT_EQ(values[0].at(0).type, ValueType::bstr);
        EXPECT_EQ(values[0].at(0).text, L"Key");
        EXPECT_EQ(values[1].at(0).number, 7U);
    }
}

TEST(DecodeValues, EmptyWideTextIsAValue) {
    const Values values = Decode({WideText(), BEHIND}, PayloadBuilder().WideZ(L"").U8(7));
    EXPECT_EQ(values[0].at(0).text, L"");
    EXPECT_EQ(values[1].at(0).number, 7U);
}

TEST(DecodeValues, WideTextWithoutNulGivesNoValueAndEndsThePayload) {
    for (const std::size_t odd : {0U, 1U}) {
        const Values values = Decode({WideText(), BEHIND}, PayloadBuilder().Wide(L"Key").Zeros(odd));
        EXPECT_TRUE(values[0].empty());
        EXPECT_TRUE(values[1].empty());
    }
}

TEST(DecodeValues, CountedWideTextHasItsCountAhead) {
    const Values values = Decode({WideText(L"COUNTED"), BEHIND}, PayloadBuilder().U16(3).Wide(L"KeyX").U8(7));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_EQ(values[1].at(0).number, std::uint64_t{'X'});
}

TEST(DecodeValues, CountedWideTextEndsAtItsNulButTheCursorGoesOverTheWholeCount) {
    const Values values =
        Decode({WideText(L"Counted"), BEHIND}, PayloadBuilder().U16(5).Wide(L"ab").U16(0).Wide(L"cd").U8(7));
    EXPECT_EQ(values[0].at(0).text, L"ab");
    EXPECT_EQ(values[1].at(0).number, 7U);
}

TEST(DecodeValues, ReverseCountedTextHasTheBytesOfItsCountSwapped) {
    const Values values =
        Decode({WideText(L"reverseCounted"), BEHIND}, PayloadBuilder().U8(0).U8(3).Wide(L"Key").U8(7));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_EQ(values[1].at(0).number, 7U);
    const Values narrow =
        Decode({NarrowText(L"ReverseCounted"), BEHIND}, PayloadBuilder().U8(0).U8(3).Narrow("Key").U8(7));
    EXPECT_EQ(narrow[0].at(0).text, L"Key");
    EXPECT_EQ(narrow[1].at(0).number, 7U);
}

TEST(DecodeValues, CountOfZeroIsAnEmptyText) {
    for (const PropertyDescriptor& text : {WideText(L"Counted"), NarrowText(L"Counted")}) {
        const Values values = Decode({text, BEHIND}, PayloadBuilder().U16(0).U8(7));
        ASSERT_EQ(values[0].size(), 1U);
        EXPECT_EQ(values[0][0].text, L"");
        EXPECT_EQ(values[1].at(0).number, 7U);
    }
}

TEST(DecodeValues, CountedTextThatRunsPastTheEndGivesNoValue) {
    for (const PropertyDescriptor& text : {WideText(L"Counted"), NarrowText(L"Counted")}) {
        const Values values = Decode({text, BEHIND}, PayloadBuilder().U16(9).Wide(L"Key"));
        EXPECT_TRUE(values[0].empty());
        EXPECT_TRUE(values[1].empty());
    }
}

TEST(DecodeValues, CountedWideTextWithItsNulInsideIsWholeWhateverTheCount) {
    const Values values = Decode({WideText(L"Counted"), BEHIND}, PayloadBuilder().U16(0xFFFF).WideZ(L"Key"));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, CountThatIsNotWholeGivesNoValue) {
    const Values values = Decode({WideText(L"Counted"), BEHIND}, PayloadBuilder().U8(1));
    EXPECT_TRUE(values[0].empty());
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, NotCountedTextIsTheRestOfThePayload) {
    const Values wide =
        Decode({BEHIND, WideText(L"notcounted"), BEHIND}, PayloadBuilder().U8(1).Wide(L"Key"));
    EXPECT_EQ(wide[1].at(0).text, L"Key");
    EXPECT_TRUE(wide[2].empty());
    const Values narrow =
        Decode({BEHIND, NarrowText(L"NotCounted"), BEHIND}, PayloadBuilder().U8(1).Narrow("Key"));
    EXPECT_EQ(narrow[1].at(0).text, L"Key");
    EXPECT_TRUE(narrow[2].empty());
}

TEST(DecodeValues, NotCountedWideTextEndsAtItsNulAndTheCursorAtTheEnd) {
    const Values values =
        Decode({WideText(L"NotCounted"), BEHIND}, PayloadBuilder().WideZ(L"Key").Wide(L"behind"));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_TRUE(values[1].empty());
}

TEST(DecodeValues, OtherTerminationIsACountOfZero) {
    for (const wchar_t* word : {L"Dollar", L"", L"Counted "}) {
        for (const PropertyDescriptor& text : {WideText(word), NarrowText(word)}) {
            const Values values = Decode({text, BEHIND}, PayloadBuilder().U8(9).Wide(L"Key"));
            ASSERT_EQ(values[0].size(), 1U);
            EXPECT_EQ(values[0][0].text, L"");
            EXPECT_EQ(values[1].at(0).number, 9U);
        }
    }
}

TEST(DecodeValues, CountedNarrowTextHasSoManyBytes) {
    const Values values = Decode({NarrowText(L"Counted"), BEHIND}, PayloadBuilder().U16(3).Narrow("KeyX"));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_EQ(values[1].at(0).number, std::uint64_t{'X'});
}

TEST(DecodeValues, NarrowTextUpToItsNulMovesByTwo) {
    const Values values = Decode({NarrowText(), BEHIND}, PayloadBuilder().Narrow("Key").U8(0).U8(7));
    EXPECT_EQ(values[0].at(0).text, L"Key");
    EXPECT_EQ(values[1].at(0).number, std::uint64_t{'y'});
}

TEST(DecodeValues, EmptyNarrowTextMovesByOne) {
    const Values values = Decode({NarrowText(), BEHIND}, PayloadBuilder().U8(0).U8(7));
    EXPECT_EQ(values[0].at(0).text, L"");
    EXPECT_EQ(values[1].at(0).number, 7U);
}

TEST(DecodeValues, NarrowTextWithoutNulGivesNoValueAndStillMovesByTwo) {
    const Values values = Decode({NarrowText(), BEHIND}, PayloadBuilder().Narrow("Key"));
    EXPECT_TRUE(values[0].empty());
    EXPECT_EQ(values[1].at(0).number, std::uint64_t{'y'});
}

TEST(DecodeValues, ArrayOfTextsIsReadTextByText) {
    PropertyDescriptor texts = Array(cim::STRING, 2);
    texts.qualifiers.format = true;
    const Values values = Decode({texts, BEHIND}, PayloadBuilder().WideZ(L"a").WideZ(L"bc").U8(7));
    ASSERT_EQ(values[0].size(), 2U);
    EXPECT_EQ(values[0][0].text, L"a");
    EXPECT_EQ(values[0][1].text, L"bc");
    EXPECT_EQ(values[1].at(0).number, 7U);
}

TEST(DecodeValues, RegistryEventOfVersion2IsReadByItsClass) {
    PropertyQualifiers name;
    name.format = true;
    name.stringTermination = L"NullTerminated";
    const Values values = Decode({Property(cim::SINT64), Property(cim::UINT32), Property(cim::UINT32),
                                  Pointer(cim::UINT32), Property(cim::STRING, name)},
                                 PayloadBuilder().U64(9).U32(5).U32(7).U64(0x1000).WideZ(L"Name"), 8);
    EXPECT_EQ(values[0].at(0).number, 9U);
    EXPECT_EQ(values[1].at(0).number, 5U);
    EXPECT_EQ(values[2].at(0).number, 7U);
    EXPECT_EQ(values[3].at(0).number, 0x1000U);
    EXPECT_EQ(values[4].at(0).text, L"Name");
}

TEST(FindProperty, FindsTheFirstOfTheNameWhateverItsCase) {
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
