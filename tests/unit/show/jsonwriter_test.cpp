#include "kit/show/jsonwriter.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

std::string TextOf(std::wstring_view units) {
    return JsonWriter().Text(units).Json();
}

TEST(JsonWriterTest, SeparatesWhatIsInListsAndObjects) {
    JsonWriter writer;
    writer.BeginObject().Name("a").BeginArray().Number(1).Null().BeginObject().EndObject().EndArray();
    writer.Name("b").Text(L"x").Name("c").BeginArray().EndArray().EndObject();
    EXPECT_EQ(writer.Json(), R"({"a":[1,null,{}],"b":"x","c":[]})");
}

TEST(JsonWriterTest, PrintableTextStays) {
    EXPECT_EQ(TextOf(L"Az 09 ~!#$%()*+,-./:;=?@[]^_{|}"), "\"Az 09 ~!#$%()*+,-./:;=?@[]^_{|}\"");
}

TEST(JsonWriterTest, NoSignOfMarkupIsWritten) {
    EXPECT_EQ(TextOf(L"</script>"), R"("\u003c/script\u003e")");
    EXPECT_EQ(TextOf(L"<!--&'`"), R"("\u003c!--\u0026\u0027\u0060")");
    EXPECT_EQ(TextOf(L"\"\\"), R"("\u0022\u005c")");
}

TEST(JsonWriterTest, AllOtherUnitsAreNumbers) {
    EXPECT_EQ(TextOf(std::wstring(L"\0\x1f\x7f", 3)), R"("\u0000\u001f\u007f")");
    EXPECT_EQ(TextOf(L"\u2028\u202e\u4e00"), R"("\u2028\u202e\u4e00")");
}

TEST(JsonWriterTest, HalfACharacterStaysHalf) {
    EXPECT_EQ(TextOf(std::wstring{static_cast<wchar_t>(0xD800), L'x', static_cast<wchar_t>(0xDC00)}),
              R"("\ud800x\udc00")");
}

} // namespace
} // namespace keyreap
