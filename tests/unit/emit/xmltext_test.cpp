#include "kit/emit/xmltext.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(XmlWriterTest, NestsElementsAndEscapesTexts) {
    XmlWriter xml;
    xml.Declare();
    xml.Open("A", {{"x", L"<&>\"'\t\r\n\x00E9"}, {"y", L""}});
    xml.AddEmpty("B", {});
    xml.Open("C", {});
    xml.AddText("D", L"a<b");
    xml.Close();
    xml.Close();
    EXPECT_EQ(xml.Bytes(), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                           "<A x=\"&lt;&amp;&gt;&quot;'&#9;&#13;&#10;\xC3\xA9\" y=\"\">\n"
                           "  <B/>\n"
                           "  <C>\n"
                           "    <D>a&lt;b</D>\n"
                           "  </C>\n"
                           "</A>\n");
}

TEST(IsXmlText, HasNoOtherCharacters) {
    EXPECT_TRUE(IsXmlText(L"a\t\r\n\x0080\xFFFD\xD83D\xDE00"));
    EXPECT_TRUE(IsXmlText(L""));
    for (const wchar_t unit : {L'\x01', L'\x1F', L'\0', static_cast<wchar_t>(0xD83D),
                               static_cast<wchar_t>(0xFFFE), static_cast<wchar_t>(0xFFFF)}) {
        EXPECT_FALSE(IsXmlText(std::wstring(1, unit))) << static_cast<int>(unit);
    }
}

} // namespace
} // namespace keyreap
