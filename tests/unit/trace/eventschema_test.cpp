#include "trace/eventschema.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(GuidText, HasBracesDashesAndUpperCaseDigits) {
    EXPECT_EQ(GuidText(RegistryGuid), L"{AE53722E-C863-11D2-8659-00C04FA321A1}");
}

TEST(GuidText, KeepsLeadingZeros) {
    EXPECT_EQ(GuidText(Guid{0x1, 0x2, 0x3, {0x4, 0x5, 0x6, 0x7, 0x8, 0x9, 0xA, 0xB}}),
              L"{00000001-0002-0003-0405-060708090A0B}");
}

TEST(SchemaKey, IsGuidVersionAndTypeInDecimal) {
    TraceEvent event;
    event.guid = RegistryGuid;
    event.version = 12;
    event.type = 255;
    EXPECT_EQ(SchemaKey(event), L"{AE53722E-C863-11D2-8659-00C04FA321A1}-12-255");
}

TEST(SchemaKey, OfOtherVersionsAndTypesDiffer) {
    TraceEvent first;
    first.version = 1;
    first.type = 12;
    TraceEvent second;
    second.version = 11;
    second.type = 2;
    EXPECT_NE(SchemaKey(first), SchemaKey(second));
}

TEST(PropertyDescriptor, StartsWithoutNameTypeOrQualifiers) {
    const PropertyDescriptor property;
    EXPECT_EQ(property.name, L"");
    EXPECT_EQ(property.cimType, 4095U);
    EXPECT_FALSE(property.qualifiers.pointer);
    EXPECT_FALSE(property.qualifiers.format);
    EXPECT_FALSE(property.qualifiers.stringTermination);
    EXPECT_FALSE(property.qualifiers.extension);
    EXPECT_FALSE(property.qualifiers.max);
}

} // namespace
} // namespace keyreap
