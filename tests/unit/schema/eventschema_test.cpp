#include "trace/schema/eventschema.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr Guid registryGuid{0xAE53722E, 0xC863, 0x11D2, {0x86, 0x59, 0x00, 0xC0, 0x4F, 0xA3, 0x21, 0xA1}};

TEST(GuidText, HasBracesDashesAndUpperCaseDigits) {
    EXPECT_EQ(GuidText(registryGuid), L"{AE53722E-C863-11D2-8659-00C04FA321A1}");
}

TEST(GuidText, KeepsLeadingZeros) {
    EXPECT_EQ(GuidText(Guid{0x1, 0x2, 0x3, {0x4, 0x5, 0x6, 0x7, 0x8, 0x9, 0xA, 0xB}}),
              L"{00000001-0002-0003-0405-060708090A0B}");
}

TEST(SchemaKey, IsGuidVersionAndTypeInDecimal) {
    EXPECT_EQ(SchemaKey(registryGuid, 12, 255), L"{AE53722E-C863-11D2-8659-00C04FA321A1}-12-255");
}

TEST(SchemaKey, OfOtherVersionsAndTypesDiffer) {
    EXPECT_NE(SchemaKey(Guid{}, 1, 12), SchemaKey(Guid{}, 11, 2));
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
