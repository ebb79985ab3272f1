#include "platform/os/ownedinterface.h"
#include "tests/unit/schema/fakewmi.h"
#include "trace/schema/wmischema.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;

struct Loaded {
    bool result = false;
    EventSchema schema;
};

// The schema of a class, loaded into one that had other content.
Loaded Load(const FakeClass& description) {
    const OwnedInterface<IWbemClassObject> eventClass(FakeWmi::Object(description));
    Loaded loaded;
    loaded.schema.properties.resize(7);
    loaded.result = LoadSchema(loaded.schema, *eventClass.Get());
    return loaded;
}

// The decoder's qualifiers of a property that has this qualifier.
PropertyQualifiers QualifiersWith(const wchar_t* name, const _variant_t& value) {
    FakeClass description;
    description.AddProperty(L"P", CIM_UINT32, 1).Add(name, value);
    return Load(description).schema.properties.at(0).qualifiers;
}

TEST(LoadSchema, PropertiesAreInTheOrderOfTheirWmiDataId) {
    FakeClass description;
    description.AddProperty(L"Third", CIM_UINT32, 3);
    description.AddProperty(L"First", CIM_STRING, 1);
    description.AddProperty(L"Second", CIM_UINT64, 2);
    const Loaded loaded = Load(description);
    EXPECT_TRUE(loaded.result);
    EXPECT_THAT(
        loaded.schema.properties,
        ElementsAre(FieldsAre(L"First", 8U, _), FieldsAre(L"Second", 21U, _), FieldsAre(L"Third", 19U, _)));
}

TEST(LoadSchema, ArrayKeepsItsBitInTheCimType) {
    FakeClass description;
    description.AddProperty(L"A", CIM_UINT8 | CIM_FLAG_ARRAY, 1);
    EXPECT_EQ(Load(description).schema.properties.at(0).cimType, 0x2011U);
}

TEST(LoadSchema, ClassWithoutPropertiesIsAnEmptySchema) {
    const Loaded loaded = Load({});
    EXPECT_TRUE(loaded.result);
    EXPECT_TRUE(loaded.schema.properties.empty());
}

TEST(LoadSchema, ClassWithoutReadableNamesFails) {
    FakeClass description;
    description.AddProperty(L"A", CIM_UINT8, 1);
    description.hasNames = false;
    const Loaded loaded = Load(description);
    EXPECT_FALSE(loaded.result);
    EXPECT_TRUE(loaded.schema.properties.empty());
}

TEST(LoadSchema, PropertyWithoutQualifierSetFailsAndEmptiesTheList) {
    FakeClass description;
    description.AddProperty(L"A", CIM_UINT8, 1);
    description.AddProperty(L"B", CIM_UINT8, 2).status = E_FAIL;
    const Loaded loaded = Load(description);
    EXPECT_FALSE(loaded.result);
    EXPECT_TRUE(loaded.schema.properties.empty());
}

TEST(LoadSchema, PropertyWithoutWmiDataIdFailsAndEmptiesTheList) {
    FakeClass description;
    description.AddProperty(L"A", CIM_UINT8, 1);
    description.properties.push_back({L"B", CIM_UINT8, {}, S_OK});
    const Loaded loaded = Load(description);
    EXPECT_FALSE(loaded.result);
    EXPECT_TRUE(loaded.schema.properties.empty());
}

TEST(LoadSchema, PropertyWhoseTypeCannotBeReadFailsAndEmptiesTheList) {
    FakeClass description;
    description.AddProperty(L"A", CIM_UINT8, 1);
    description.AddProperty(L"B", CIM_UINT8, 2);
    description.properties[1].status = E_FAIL;
    const Loaded loaded = Load(description);
    EXPECT_FALSE(loaded.result);
    EXPECT_TRUE(loaded.schema.properties.empty());
}

TEST(LoadSchema, WmiDataIdOutsideTheListFails) {
    for (const long id : {0L, -1L, 3L, 0x7FFFFFFFL}) {
        FakeClass description;
        description.AddProperty(L"A", CIM_UINT8, 1);
        description.AddProperty(L"B", CIM_UINT8, id);
        const Loaded loaded = Load(description);
        EXPECT_FALSE(loaded.result) << id;
        EXPECT_TRUE(loaded.schema.properties.empty()) << id;
    }
}

TEST(LoadSchema, UnusedPlaceKeepsItsInitialValues) {
    FakeClass description;
    description.AddProperty(L"A", CIM_UINT8, 2);
    description.AddProperty(L"B", CIM_UINT8, 2);
    const Loaded loaded = Load(description);
    EXPECT_TRUE(loaded.result);
    EXPECT_THAT(loaded.schema.properties, ElementsAre(FieldsAre(L"", 4095U, _), FieldsAre(L"B", _, _)));
}

TEST(LoadSchema, PropertyWithoutFurtherQualifiersHasNone) {
    FakeClass description;
    description.AddProperty(L"P", CIM_UINT32, 1);
    const PropertyQualifiers qualifiers = Load(description).schema.properties.at(0).qualifiers;
    EXPECT_FALSE(qualifiers.pointer);
    EXPECT_FALSE(qualifiers.format);
    EXPECT_FALSE(qualifiers.stringTermination);
    EXPECT_FALSE(qualifiers.extension);
    EXPECT_FALSE(qualifiers.max);
}

TEST(LoadSchema, PointerAndPointerTypeCountByTheirPresenceAlone) {
    EXPECT_TRUE(QualifiersWith(L"Pointer", _variant_t(false)).pointer);
    EXPECT_TRUE(QualifiersWith(L"PointerType", _variant_t(L"")).pointer);
}

TEST(LoadSchema, FormatCountsByItsPresenceAlone) {
    EXPECT_TRUE(QualifiersWith(L"Format", _variant_t(L"w")).format);
    EXPECT_TRUE(QualifiersWith(L"Format", _variant_t(L"")).format);
}

TEST(LoadSchema, TerminationAndExtensionAreTexts) {
    EXPECT_EQ(QualifiersWith(L"StringTermination", _variant_t(L"Counted")).stringTermination, L"Counted");
    EXPECT_EQ(QualifiersWith(L"Extension", _variant_t(L"Guid")).extension, L"Guid");
}

TEST(LoadSchema, MaxIsConvertedToANumber) {
    _variant_t asInt(5L);
    V_VT(&asInt) = VT_INT;
    EXPECT_EQ(QualifiersWith(L"MAX", asInt).max, 5);
    EXPECT_EQ(QualifiersWith(L"MAX", _variant_t(5L)).max, 5);
    EXPECT_EQ(QualifiersWith(L"MAX", _variant_t(L"12")).max, 12);
    EXPECT_EQ(QualifiersWith(L"MAX", _variant_t(-3L)).max, -3);
}

TEST(LoadSchema, MaxThatIsNotANumberIsIgnored) {
    EXPECT_FALSE(QualifiersWith(L"MAX", _variant_t(L"many")).max);
    EXPECT_FALSE(QualifiersWith(L"MAX", ArrayOf(VT_I4, {1})).max);
}

TEST(NumberOf, ReadsEveryIntegerType) {
    for (const VARTYPE type : {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8, VT_INT, VT_UINT}) {
        _variant_t number(77L);
        number.ChangeType(type);
        EXPECT_EQ(NumberOf(number), 77) << type;
    }
}

TEST(NumberOf, IsEmptyForWhatIsNotANumberOrTooLarge) {
    EXPECT_FALSE(NumberOf(_variant_t(L"text")));
    EXPECT_FALSE(NumberOf(_variant_t()));
    EXPECT_FALSE(NumberOf(ArrayOf(VT_I4, {1})));
    _variant_t large;
    V_VT(&large) = VT_UI8;
    V_UI8(&large) = 0x100000000;
    EXPECT_FALSE(NumberOf(large));
}

TEST(LoadSchema, ReleasesWhatItFetched) {
    const int before = FakeWmi::LiveObjects();
    FakeClass description;
    description.AddProperty(L"A", CIM_UINT8, 1);
    description.AddProperty(L"B", CIM_UINT8, 9);
    Load(description);
    EXPECT_EQ(FakeWmi::LiveObjects(), before);
}

} // namespace
} // namespace keyreap
