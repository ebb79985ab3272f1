#include "etl/payload.h"
#include "tests/support/tracebuilder.h"
#include "trace/registryfields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

// A registry event with a hand-written payload.
struct LaidOut {
    LaidOut(std::uint16_t version, const PayloadBuilder& payload) : bytes(payload.bytes) {
        event.guid = RegistryGuid;
        event.type = registryevent::createKey;
        event.version = version;
        event.payload = bytes;
    }

    std::vector<std::byte> bytes;
    TraceEvent event;
};

constexpr std::int64_t someTime = 0x1122334455667788;

auto HasFields(const RegistryFields& expected) {
    using testing::Field;
    return testing::AllOf(Field("keyHandle", &RegistryFields::keyHandle, expected.keyHandle),
                          Field("name", &RegistryFields::name, expected.name),
                          Field("status", &RegistryFields::status, expected.status),
                          Field("index", &RegistryFields::index, expected.index),
                          Field("initialTime", &RegistryFields::initialTime, expected.initialTime));
}

TEST(ReadFixedFields, Version0WithPointerSize4) {
    const LaidOut it(0, PayloadBuilder().U32(0xC0000034).U32(0x1000).U64(someTime).WideZ(L"Name"));
    EXPECT_THAT(
        ReadFixedFields(it.event, 4),
        HasFields({.keyHandle = 0x1000, .name = L"Name", .status = 0xC0000034, .initialTime = someTime}));
}

TEST(ReadFixedFields, Version0WithPointerSize8) {
    const LaidOut it(0,
                     PayloadBuilder().U64(0xC0000034).U64(0xFFFFF80012345678).U64(someTime).WideZ(L"Name"));
    EXPECT_THAT(ReadFixedFields(it.event, 8), HasFields({.keyHandle = 0xFFFFF80012345678,
                                                         .name = L"Name",
                                                         .status = 0xC0000034,
                                                         .initialTime = someTime}));
}

TEST(ReadFixedFields, Version1WithPointerSize4HasNoTime) {
    const LaidOut it(1, PayloadBuilder().U32(5).U32(0x1000).U64(someTime).U32(7).WideZ(L"Name"));
    EXPECT_THAT(ReadFixedFields(it.event, 4),
                HasFields({.keyHandle = 0x1000, .name = L"Name", .status = 5, .index = 7}));
}

TEST(ReadFixedFields, Version1WithPointerSize8HasNoTime) {
    const LaidOut it(1, PayloadBuilder().U64(5).U64(0xFFFFF80012345678).U64(someTime).U32(7).WideZ(L"Name"));
    EXPECT_THAT(ReadFixedFields(it.event, 8),
                HasFields({.keyHandle = 0xFFFFF80012345678, .name = L"Name", .status = 5, .index = 7}));
}

PayloadBuilder LastLayout() {
    PayloadBuilder payload;
    payload.U64(someTime).U32(5).U32(7);
    return payload;
}

TEST(ReadFixedFields, Version2WithPointerSize4HasItsNameAt20) {
    const LaidOut it(2, LastLayout().U32(0x1000).WideZ(L"Name"));
    EXPECT_THAT(
        ReadFixedFields(it.event, 4),
        HasFields({.keyHandle = 0x1000, .name = L"Name", .status = 5, .index = 7, .initialTime = someTime}));
}

TEST(ReadFixedFields, Version2WithPointerSize8HasItsNameAt24) {
    const LaidOut it(2, LastLayout().U64(0xFFFFF80012345678).WideZ(L"Name"));
    EXPECT_THAT(ReadFixedFields(it.event, 8), HasFields({.keyHandle = 0xFFFFF80012345678,
                                                         .name = L"Name",
                                                         .status = 5,
                                                         .index = 7,
                                                         .initialTime = someTime}));
}

TEST(ReadFixedFields, Version3AndAboveTakeTheLayoutOfVersion2) {
    for (const std::uint16_t version : std::initializer_list<std::uint16_t>{3, 4, 0xFFFF}) {
        const LaidOut it(version, LastLayout().U64(0x1000).WideZ(L"Name"));
        EXPECT_THAT(
            ReadFixedFields(it.event, 8),
            HasFields(
                {.keyHandle = 0x1000, .name = L"Name", .status = 5, .index = 7, .initialTime = someTime}));
    }
}

TEST(ReadFixedFields, HandleOf32BitsIsSignExtended) {
    const LaidOut it(2, LastLayout().U32(0xE1234567).WideZ(L"Name"));
    EXPECT_EQ(ReadFixedFields(it.event, 4).keyHandle, 0xFFFFFFFFE1234567U);
}

TEST(ReadFixedFields, AnyPointerSizeBut8SignExtends32Bits) {
    const LaidOut it(2, LastLayout().U32(0xE1234567).WideZ(L"Name"));
    for (const std::uint32_t pointerSize : {0U, 1U, 2U, 7U, 16U, 0xFFFFFFFFU}) {
        const RegistryFields fields = ReadFixedFields(it.event, pointerSize);
        EXPECT_EQ(fields.keyHandle, 0xFFFFFFFFE1234567U) << pointerSize;
        EXPECT_EQ(fields.name, L"Name") << pointerSize;
    }
}

// What ReadFixedName reads, as fields.
RegistryFields NamedBy(const TraceEvent& event, std::uint32_t pointerSize) {
    const NamedHandle named = ReadFixedName(event, pointerSize);
    RegistryFields fields;
    fields.keyHandle = named.keyHandle;
    Payload::TakeUnits(named.name, fields.name);
    return fields;
}

TEST(ReadFixedName, ReadsTheHandleAndTheNameOfTheFieldsWhereverThePayloadEnds) {
    const std::vector<std::byte> bytes = LastLayout().U64(0xFFFFF800E1234567).WideZ(L"Name").bytes;
    for (std::uint16_t version = 0; version < 4; ++version) {
        for (const std::uint32_t pointerSize : {0U, 4U, 8U}) {
            for (std::size_t size = 0; size <= bytes.size(); ++size) {
                const std::vector<std::byte> exactly(bytes.begin(),
                                                     bytes.begin() + static_cast<std::ptrdiff_t>(size));
                TraceEvent event;
                event.version = version;
                event.payload = exactly;
                const RegistryFields expected = ReadFixedFields(event, pointerSize);
                EXPECT_EQ(NamedBy(event, pointerSize).keyHandle, expected.keyHandle);
                EXPECT_EQ(NamedBy(event, pointerSize).name, expected.name);
            }
        }
    }
}

TEST(ReadFixedFields, ARecordThatIsUsedAgainKeepsNothing) {
    const std::vector<std::byte> bytes = LastLayout().U64(0x1000).Wide(L"Name").bytes;
    for (std::uint16_t version = 0; version < 4; ++version) {
        for (const std::size_t size : {std::size_t{0}, bytes.size()}) {
            TraceEvent event;
            event.version = version;
            event.payload = {bytes.data(), size};
            RegistryFields fields{1, L"A longer name of an earlier event", 2, 3, 4};
            ReadFixedFields(event, 8, fields);
            EXPECT_THAT(fields, HasFields(ReadFixedFields(event, 8)));
        }
    }
}

TEST(ReadFixedFields, EmptyNameIsItsTerminator) {
    const LaidOut it(2, LastLayout().U64(0x1000).WideZ(L""));
    EXPECT_EQ(ReadFixedFields(it.event, 8).name, L"");
}

TEST(ReadFixedFields, NameWithoutTerminatorIsEmpty) {
    const LaidOut it(2, LastLayout().U64(0x1000).Wide(L"Name"));
    const RegistryFields fields = ReadFixedFields(it.event, 8);
    EXPECT_EQ(fields.name, L"");
    EXPECT_EQ(fields.keyHandle, 0x1000U);
}

TEST(ReadFixedFields, HalfATerminatorDoesNotCount) {
    const LaidOut it(2, LastLayout().U64(0x1000).Wide(L"Name").U8(0));
    EXPECT_EQ(ReadFixedFields(it.event, 8).name, L"");
}

// The fields of an event that is cut off after `size` bytes.
RegistryFields ReadCut(std::uint16_t version, std::uint32_t pointerSize, std::size_t size) {
    RegistryFields whole;
    whole.keyHandle = 0x11223344;
    whole.status = 5;
    whole.index = 7;
    whole.initialTime = 9;
    whole.name = L"Name";
    std::vector<std::byte> payload = RegistryPayload(whole, version, pointerSize);
    EXPECT_GT(payload.size(), size);
    payload.resize(size);
    payload.shrink_to_fit();
    TraceEvent event;
    event.version = version;
    event.payload = payload;
    return ReadFixedFields(event, pointerSize);
}

TEST(ReadFixedFields, IncompleteFieldHasItsDefaultAndAllOtherFieldsStay) {
    EXPECT_EQ(ReadCut(2, 8, 23).keyHandle, 0U);
    EXPECT_EQ(ReadCut(2, 8, 23).status, 5U);
    EXPECT_EQ(ReadCut(2, 8, 24).keyHandle, 0x11223344U);
    EXPECT_EQ(ReadCut(2, 4, 19).keyHandle, 0U);
    EXPECT_EQ(ReadCut(2, 4, 20).keyHandle, 0x11223344U);
    EXPECT_EQ(ReadCut(2, 8, 15).index, 0U);
    EXPECT_EQ(ReadCut(2, 8, 16).index, 7U);
    EXPECT_EQ(ReadCut(2, 8, 11).status, 0U);
    EXPECT_EQ(ReadCut(2, 8, 12).status, 5U);
    EXPECT_EQ(ReadCut(2, 8, 7).initialTime, 0);
    EXPECT_EQ(ReadCut(2, 8, 8).initialTime, 9);
    EXPECT_EQ(ReadCut(1, 8, 27).index, 0U);
    EXPECT_EQ(ReadCut(1, 8, 28).index, 7U);
    EXPECT_EQ(ReadCut(0, 4, 15).initialTime, 0);
    EXPECT_EQ(ReadCut(0, 4, 16).initialTime, 9);
}

TEST(ReadFixedFields, NoLengthReadsPastTheEnd) {
    for (const std::uint16_t version : std::initializer_list<std::uint16_t>{0, 1, 2, 3}) {
        for (const std::uint32_t pointerSize : {4U, 8U}) {
            for (std::size_t size = 0; size < 26; ++size) {
                EXPECT_EQ(ReadCut(version, pointerSize, size).name, L"");
            }
        }
    }
}

// A schema with a list of values for each property.
struct Decoded {
    void Add(std::wstring name, std::vector<EventValue> list) {
        PropertyDescriptor property;
        property.name = std::move(name);
        schema.properties.push_back(std::move(property));
        values.values.push_back(std::move(list));
    }

    EventSchema schema;
    EventValues values{schema};
};

TEST(ReadSchemaFields, FieldsComeFromThePropertiesOfTheirNames) {
    Decoded it;
    it.Add(L"InitialTime", {{ValueType::i8, 9, {}}});
    it.Add(L"Status", {{ValueType::ui4, 0xC0000034, {}}});
    it.Add(L"Index", {{ValueType::ui4, 7, {}}});
    it.Add(L"KeyHandle", {{ValueType::ui8, 0xFFFFF80012345678, {}}});
    it.Add(L"KeyName", {{ValueType::bstr, 0, L"Name"}});
    EXPECT_THAT(ReadSchemaFields(it.values, 8), HasFields({.keyHandle = 0xFFFFF80012345678,
                                                           .name = L"Name",
                                                           .status = 0xC0000034,
                                                           .index = 7,
                                                           .initialTime = 9}));
}

TEST(ReadSchemaFields, PropertyNamesAreFoundInAnyCase) {
    Decoded it;
    it.Add(L"KEYNAME", {{ValueType::bstr, 0, L"Name"}});
    it.Add(L"keyhandle", {{ValueType::ui8, 5, {}}});
    const RegistryFields fields = ReadSchemaFields(it.values, 8);
    EXPECT_EQ(fields.name, L"Name");
    EXPECT_EQ(fields.keyHandle, 5U);
}

TEST(ReadSchemaFields, MissingPropertiesHaveTheirDefaults) {
    const Decoded it;
    EXPECT_THAT(ReadSchemaFields(it.values, 8),
                HasFields({.keyHandle = 0, .name = L"", .status = 0, .index = 0xFFFFFFFF, .initialTime = 0}));
}

TEST(ReadSchemaFields, PropertiesWithoutValueHaveTheirDefaults) {
    Decoded it;
    for (const wchar_t* name : {L"InitialTime", L"Status", L"Index", L"KeyHandle", L"KeyName"}) {
        it.Add(name, {});
    }
    EXPECT_THAT(ReadSchemaFields(it.values, 8),
                HasFields({.keyHandle = 0, .name = L"", .status = 0, .index = 0xFFFFFFFF, .initialTime = 0}));
}

TEST(ReadSchemaFields, FirstValueOfAListCounts) {
    Decoded it;
    it.Add(L"Status", {{ValueType::ui4, 1, {}}, {ValueType::ui4, 2, {}}});
    EXPECT_EQ(ReadSchemaFields(it.values, 8).status, 1U);
}

TEST(ReadSchemaFields, HandleIsSignExtendedForAnyPointerSizeBut8) {
    Decoded it;
    it.Add(L"KeyHandle", {{ValueType::ui8, 0x12345678E1234567, {}}});
    EXPECT_EQ(ReadSchemaFields(it.values, 8).keyHandle, 0x12345678E1234567U);
    EXPECT_EQ(ReadSchemaFields(it.values, 4).keyHandle, 0xFFFFFFFFE1234567U);
    EXPECT_EQ(ReadSchemaFields(it.values, 0).keyHandle, 0xFFFFFFFFE1234567U);
}

TEST(ReadSchemaFields, NumberWiderThan32BitsIsTruncatedToItsLowHalf) {
    Decoded it;
    it.Add(L"Status", {{ValueType::ui8, 0x1122334455667788, {}}});
    it.Add(L"Index", {{ValueType::ui8, 0x1122334455667788, {}}});
    const RegistryFields fields = ReadSchemaFields(it.values, 8);
    EXPECT_EQ(fields.status, 0x55667788U);
    EXPECT_EQ(fields.index, 0x55667788U);
}

} // namespace
} // namespace keyreap
