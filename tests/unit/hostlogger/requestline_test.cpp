#include "hostlogger/requestline.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using Kind = RequestLine::Kind;

TEST(ParseRequestLine, ARequestHasItsThreadItsNameAndItsFields) {
    const auto line = ParseRequestLine("0024: close_handle( handle=0034 )");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->kind, Kind::request);
    EXPECT_EQ(line->id, 0x24U);
    EXPECT_EQ(line->name, "close_handle");
    EXPECT_EQ(NumberField(line->fields, "handle"), 0x34U);
}

TEST(ParseRequestLine, ARequestMayHaveNoFields) {
    const auto line = ParseRequestLine("0024: get_startup_info( )");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->kind, Kind::request);
    EXPECT_EQ(line->name, "get_startup_info");
}

TEST(ParseRequestLine, BracketsInANameDoNotEndARequest) {
    const auto line = ParseRequestLine(R"(0024: open_key( parent=0000, name=L"a) = 0 { b" ))");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->kind, Kind::request);
    EXPECT_EQ(TextField(line->fields, "name"), L"a) = 0 { b");
}

TEST(ParseRequestLine, AReplyHasItsStatusAndItsFields) {
    const auto line = ParseRequestLine("00e0: create_key() = OBJECT_NAME_EXISTS { hkey=0004 }");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->kind, Kind::reply);
    EXPECT_EQ(line->id, 0xE0U);
    EXPECT_EQ(line->name, "create_key");
    EXPECT_EQ(line->status, "OBJECT_NAME_EXISTS");
    EXPECT_EQ(NumberField(line->fields, "hkey"), 4U);
}

TEST(ParseRequestLine, AReplyMayBeOnlyAStatus) {
    const auto line = ParseRequestLine("0024: set_key_value() = c0000022");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->status, "c0000022");
    EXPECT_TRUE(line->fields.empty());
}

TEST(ParseRequestLine, ATruncatedReplyKeepsItsStatus) {
    const auto line = ParseRequestLine("0024: create_key() = 0 { hkey=00");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->status, "0");
    EXPECT_TRUE(line->fields.empty());
}

TEST(ParseRequestLine, AKeysRealPathIsALineOfItsOwn) {
    for (const char* text : {R"(Open key REGISTRY\\Machine)", R"(Create key REGISTRY\\Machine)"}) {
        const auto line = ParseRequestLine(text);
        ASSERT_TRUE(line) << text;
        EXPECT_EQ(line->kind, Kind::keyPath);
        EXPECT_EQ(line->fields, R"(REGISTRY\\Machine)");
    }
}

TEST(ParseRequestLine, TheEndOfAThreadHasItsId) {
    const auto line = ParseRequestLine("00e0: *killed* exit_code=0");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->kind, Kind::threadEnd);
    EXPECT_EQ(line->id, 0xE0U);
}

TEST(ParseRequestLine, TheEndOfAProcessHasItsId) {
    const auto line = ParseRequestLine("00d4: *process killed*");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->kind, Kind::processEnd);
    EXPECT_EQ(line->id, 0xD4U);
}

TEST(ParseRequestLine, TheFilterAddsTimesAndMarksLostLines) {
    const auto clock = ParseRequestLine("time 123456789012345");
    ASSERT_TRUE(clock);
    EXPECT_EQ(clock->kind, Kind::clock);
    EXPECT_EQ(clock->fields, "123456789012345");
    const auto lost = ParseRequestLine("lost");
    ASSERT_TRUE(lost);
    EXPECT_EQ(lost->kind, Kind::lost);
}

TEST(ParseRequestLine, AnyOtherLineIsRejected) {
    for (const char* text : {"",
                             " ",
                             ":",
                             ": ",
                             "0024",
                             "0024:",
                             "0024: ",
                             "0024: open_key",
                             "0024: (",
                             "0024: ( )",
                             "open_key( )",
                             "xyz: open_key( )",
                             "0024 open_key( )",
                             "123456789: open_key( )",
                             "-024: open_key( )",
                             "0024: open_key( parent=0000",
                             "0024: *wakeup* signaled=0",
                             "wineserver: starting (pid=1)",
                             "lost 3",
                             "Set key REGISTRY\\\\A value \"B\"=dword:00000001",
                             "0024: *fd* 0004 -> 20"}) {
        EXPECT_FALSE(ParseRequestLine(text)) << '"' << text << '"';
    }
}

TEST(ParseRequestLine, EveryBeginningOfALineIsARequestOrRejected) {
    const std::string_view complete =
        R"(0024: create_key( access=000f003f, objattr={rootdir=0028,sd={},name=L"a\"}\x123"}, class=L"" ))";
    for (std::size_t length = 0; length < complete.size(); ++length) {
        const auto line = ParseRequestLine(complete.substr(0, length));
        if (line) {
            EXPECT_EQ(line->kind, Kind::request);
            EXPECT_EQ(NumberField(line->fields, "hkey"), 0U);
        }
    }
}

constexpr std::string_view createFields =
    R"( access=000f003f, options=00000000, objattr={rootdir=0028,attributes=000000c0,sd={},name=L"T1,x={"}, class=L"c")";

TEST(FindField, FieldsAreSeparatedByCommasOfTheirOwnLevel) {
    EXPECT_EQ(FindField(createFields, "access"), "000f003f");
    EXPECT_EQ(FindField(createFields, "options"), "00000000");
    EXPECT_EQ(FindField(createFields, "class"), R"(L"c")");
}

TEST(FindField, AStructureHasNoBraces) {
    const auto structure = FindField(createFields, "objattr");
    ASSERT_TRUE(structure);
    EXPECT_EQ(FindField(*structure, "rootdir"), "0028");
    EXPECT_EQ(FindField(*structure, "sd"), "");
    EXPECT_EQ(FindField(*structure, "name"), R"(L"T1,x={")");
}

TEST(RequestFields, AreIteratedWithoutBraces) {
    RequestFields fields(R"(a=1, b={c=2,d=3}, name=L"x, y=1")");
    ASSERT_TRUE(fields.Next());
    EXPECT_EQ(fields.Name(), "a");
    EXPECT_EQ(fields.Value(), "1");
    ASSERT_TRUE(fields.Next());
    EXPECT_EQ(fields.Name(), "b");
    EXPECT_EQ(fields.Value(), "c=2,d=3");
    ASSERT_TRUE(fields.Next());
    EXPECT_EQ(fields.Name(), "name");
    EXPECT_EQ(fields.Value(), R"(L"x, y=1")");
    EXPECT_FALSE(fields.Next());
}

TEST(RequestFields, TextWithoutAnEqualsSignIsSkipped) {
    RequestFields fields("a, b=1,, c");
    ASSERT_TRUE(fields.Next());
    EXPECT_EQ(fields.Name(), "b");
    EXPECT_FALSE(fields.Next());
}

TEST(FindField, AFieldOfAStructureIsNoOuterField) {
    EXPECT_FALSE(FindField(createFields, "rootdir"));
    EXPECT_FALSE(FindField(createFields, "name"));
}

TEST(FindField, OnlyTheWholeNameMatches) {
    EXPECT_FALSE(FindField("hkey=0004", "key"));
    EXPECT_FALSE(FindField("hkey=0004", "hke"));
    EXPECT_FALSE(FindField("hkey=0004", "hkey0"));
    EXPECT_FALSE(FindField("hkey", "hkey"));
    EXPECT_FALSE(FindField("", "hkey"));
}

TEST(FindField, TheFirstOfTwoCounts) {
    EXPECT_EQ(FindField("a=1, a=2", "a"), "1");
}

TEST(FindField, AnUnterminatedTextExtendsToTheEnd) {
    EXPECT_EQ(FindField(R"(name=L"a, b=1)", "name"), R"(L"a, b=1)");
    EXPECT_FALSE(FindField(R"(name=L"a, b=1)", "b"));
}

TEST(FindField, UnclosedBracesExtendToTheEnd) {
    EXPECT_EQ(FindField("a={b=1, c=2", "a"), "{b=1, c=2");
    EXPECT_EQ(FindField("a=}, c=2", "c"), "2");
}

TEST(NumberField, NumbersAreHexadecimal) {
    EXPECT_EQ(NumberField("handle=00ff", "handle"), 255U);
    EXPECT_EQ(NumberField("src_process=ffffffff", "src_process"), 0xFFFFFFFFU);
}

TEST(NumberField, AnInvalidNumberIsZero) {
    EXPECT_EQ(NumberField("a=", "a"), 0U);
    EXPECT_EQ(NumberField("a=1ffffffff", "a"), 0U);
    EXPECT_EQ(NumberField("a=12g", "a"), 0U);
    EXPECT_EQ(NumberField("a=-1", "a"), 0U);
    EXPECT_EQ(NumberField("b=1", "a"), 0U);
}

TEST(NumbersField, AListHasItsNumbersInOrder) {
    EXPECT_EQ(NumbersField("handles={00000034,00000010}, jobs={}", "handles"),
              (std::vector<std::uint32_t>{0x34, 0x10}));
    EXPECT_TRUE(NumbersField("handles={00000034}, jobs={}", "jobs").empty());
    EXPECT_TRUE(NumbersField("handles={00000034}", "jobs").empty());
}

TEST(NumbersField, AnInvalidNumberInAListIsZero) {
    EXPECT_EQ(NumbersField("handles={x,00000010,}", "handles"), (std::vector<std::uint32_t>{0, 0x10}));
}

TEST(TextField, ATextHasNoEscapes) {
    EXPECT_EQ(TextField(R"(name=L"Software\\T1")", "name"), L"Software\\T1");
    EXPECT_EQ(TextField(R"(name=L"")", "name"), L"");
}

TEST(TextField, AnInvalidTextIsEmpty) {
    for (const char* fields :
         {"", "name=", "name=L", R"(name=L")", R"(name="a")", R"(name=L"a)", R"(name=l"a")", "name=a"}) {
        EXPECT_TRUE(TextField(fields, "name").empty()) << fields;
    }
}

TEST(UnescapeServerText, ABackslashMakesTheNextCharacterLiteral) {
    EXPECT_EQ(UnescapeServerText(R"(a\\b\"c\[d\])"), L"a\\b\"c[d]");
}

TEST(UnescapeServerText, LettersMeanControlCharacters) {
    EXPECT_EQ(UnescapeServerText(R"(\a\b\t\n\v\f\r\e)"), L"\a\b\t\n\v\f\r\x1b");
}

TEST(UnescapeServerText, OtherControlCharactersAreOctal) {
    EXPECT_EQ(UnescapeServerText(R"(\1\37x)"), L"\x01\x1fx");
    EXPECT_EQ(UnescapeServerText(R"(\0017)"), (std::wstring{1, L'7'}));
}

TEST(UnescapeServerText, AZeroInsideIsKept) {
    EXPECT_EQ(UnescapeServerText(R"(a\0b)"), (std::wstring{L'a', 0, L'b'}));
}

TEST(UnescapeServerText, UnitsOutsideOfAsciiAreHexadecimal) {
    EXPECT_EQ(UnescapeServerText(R"(\xe9x)"), (std::wstring{0xE9, L'x'}));
    EXPECT_EQ(UnescapeServerText(R"(\xd83d\xde00)"), (std::wstring{0xD83D, 0xDE00}));
    EXPECT_EQ(UnescapeServerText(R"(\x00e9e)"), (std::wstring{0xE9, L'e'}));
}

TEST(UnescapeServerText, ATruncatedEscapeIsHarmless) {
    EXPECT_EQ(UnescapeServerText("a\\"), L"a\\");
    EXPECT_EQ(UnescapeServerText("\\x"), (std::wstring{0}));
    EXPECT_EQ(UnescapeServerText("\\xg"), (std::wstring{0, L'g'}));
    EXPECT_EQ(UnescapeServerText("\\8"), L"8");
}

TEST(UnescapeServerText, BytesAboveAsciiAreKept) {
    EXPECT_EQ(UnescapeServerText("\xe9\xff"), (std::wstring{0xE9, 0xFF}));
}

} // namespace
} // namespace keyreap
