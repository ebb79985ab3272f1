#include "tools/selfcheck/comparison.h"

#include <gmock/gmock.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string Document(std::wstring_view body) {
    std::string bytes;
    for (const wchar_t unit : L"\uFEFFWindows Registry Editor Version 5.00\r\n" + std::wstring(body)) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>((unit >> 8) & 0xFF);
    }
    return bytes;
}

const std::wstring first = L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapA]\r\n\"n\"=\"1\"\r\n";
const std::wstring second = L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapB]\r\n@=dword:00000007\r\n";

class Comparison : public testing::Test {
protected:
    Comparison() { AddNamesOf(Document(first + second), vocabulary); }

    std::vector<std::string> Lines(std::wstring_view captured, KeyOrder order = KeyOrder::Fixed) const {
        return DifferencesOf(Document(captured), Document(first + second), order, vocabulary);
    }

    Vocabulary vocabulary;
};

TEST_F(Comparison, OfTheSameBytesHasNoLines) {
    EXPECT_THAT(Lines(first + second), IsEmpty());
}

TEST_F(Comparison, AnotherOrderOfKeysDiffersOnlyWhereTheOrderIsFixed) {
    EXPECT_THAT(Lines(second + first), ElementsAre("the same entries in another order or spelling"));
    EXPECT_THAT(Lines(second + first, KeyOrder::Free), IsEmpty());
}

TEST_F(Comparison, MissingKeysAndValuesAreNamed) {
    EXPECT_THAT(Lines(first), ElementsAre("missing key [HKEY_CURRENT_USER\\Software\\KeyreapB]"));
    EXPECT_THAT(Lines(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapA]\r\n" + second),
                ElementsAre("missing value [HKEY_CURRENT_USER\\Software\\KeyreapA] \"n\" type 1, 4 bytes"));
}

TEST_F(Comparison, OtherDataAreReportedByTypeAndSize) {
    EXPECT_THAT(
        Lines(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapA]\r\n\"n\"=\"C:\\\\Users\\\\A Person\"\r\n" +
              second),
        ElementsAre("other data [HKEY_CURRENT_USER\\Software\\KeyreapA] \"n\" type 1, 36 bytes instead of "
                    "type 1, 4 bytes"));
}

TEST_F(Comparison, FillersAreReportedAsSuch) {
    const std::wstring filler(10, L'\u5555');
    EXPECT_THAT(
        Lines(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapA]\r\n\"n\"=\"" + filler + L"\"\r\n" + second),
        ElementsAre(
            "other data [HKEY_CURRENT_USER\\Software\\KeyreapA] \"n\" filler instead of type 1, 4 bytes"));
}

TEST_F(Comparison, FurtherEntriesHaveOnlyKnownNames) {
    const std::wstring foreign =
        L"\r\n[HKEY_CURRENT_USER\\Software\\A Company\\KeyreapB]\r\n\"A Person\"=\"x\"\r\n@=\"\"\r\n";
    EXPECT_THAT(
        Lines(first + second + foreign),
        ElementsAre("further key [HKEY_CURRENT_USER\\Software\\?\\KeyreapB]",
                    "further value [HKEY_CURRENT_USER\\Software\\?\\KeyreapB] \"\" type 1, 2 bytes",
                    "further value [HKEY_CURRENT_USER\\Software\\?\\KeyreapB] \"?\" type 1, 4 bytes"));
}

TEST_F(Comparison, AFileThatCannotBeReadIsReportedBySize) {
    EXPECT_THAT(DifferencesOf("A Person", Document(first), KeyOrder::Fixed, vocabulary),
                ElementsAre("no .reg file that can be read, of 8 bytes"));
}

TEST_F(Comparison, ListsAHundredDifferencesAndCountsTheRest) {
    std::wstring many = first + second;
    for (int i = 0; i < 103; ++i) {
        many += L"\r\n[HKEY_CURRENT_USER\\Software\\" + std::to_wstring(i) + L"]\r\n";
    }
    const std::vector<std::string> lines = Lines(many);
    EXPECT_THAT(lines, SizeIs(101));
    EXPECT_EQ(lines.back(), "and 3 further differences");
}

TEST(OwnKeys, EndAtTheFirstNameThatIsTheProjectsOwn) {
    const std::string document =
        Document(L"\r\n[HKEY_CURRENT_USER\\Software\\keyreapA\\KeyreapB]\r\n"
                 L"\r\n[HKEY_CLASSES_ROOT\\CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D21}\\ProgID]\r\n"
                 L"\r\n[HKEY_CLASSES_ROOT\\CLSID\\{00000000-2C0B-4B44-9C0A-5E9B6F5C6D21}]\r\n"
                 L"\r\n[HKEY_CURRENT_USER\\Software]\r\n");
    EXPECT_THAT(OwnKeysOf(document),
                ElementsAre(L"HKEY_CLASSES_ROOT\\CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D21}",
                            L"HKEY_CURRENT_USER\\Software\\keyreapA"));
}

TEST(OwnKeys, OfAFileThatCannotBeReadAreNone) {
    EXPECT_THAT(OwnKeysOf(""), IsEmpty());
}

TEST(ValueNames, AreThoseOfAllKeys) {
    EXPECT_THAT(ValueNamesOf(Document(first + second)), ElementsAre(L"", L"n"));
}

} // namespace
} // namespace keyreap
