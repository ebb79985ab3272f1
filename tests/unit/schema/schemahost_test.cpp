#include "trace/schema/schemahost.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(WidenNarrowText, KeepsAsciiAndNuls) {
    EXPECT_EQ(WidenNarrowText("Key"), L"Key");
    EXPECT_EQ(WidenNarrowText(std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(WidenNarrowText, OfAnEmptyTextIsEmpty) {
    EXPECT_EQ(WidenNarrowText(""), L"");
}

TEST(OpenEventClasses, GivesClassesThatDoNotDescribeAnUnknownEvent) {
    EventSchema schema;
    EXPECT_EQ(OpenEventClasses()->Load(L"{00000000-0000-0000-0000-00000000BEEF}", 2, 14, schema),
              SchemaLookup::noClass);
}

} // namespace
} // namespace keyreap
