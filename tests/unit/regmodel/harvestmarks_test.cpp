#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

std::vector<std::wstring> OwnKeys(const RegDocument& document) {
    std::vector<std::wstring> paths;
    for (const RegSection& section : document.sections) {
        if (section.isCapturesOwn) {
            paths.push_back(section.path);
        }
    }
    return paths;
}

std::wstring Without(std::wstring text, wchar_t unit) {
    std::erase(text, unit);
    return text;
}

TEST(HarvestMarks, FileWithTheFourRootsIsAHarvest) {
    EXPECT_TRUE(Read(HarvestWith(L"")).isHarvest);
}

TEST(HarvestMarks, FileWithoutOneOfTheRootsIsNone) {
    EXPECT_FALSE(
        Read(L"\r\n[HKEY_CLASSES_ROOT]\r\n\r\n[HKEY_CURRENT_USER]\r\n\r\n[HKEY_USERS]\r\n").isHarvest);
}

TEST(HarvestMarks, FileThatBeginsWithAnotherKeyIsNone) {
    EXPECT_FALSE(Read(L"\r\n[HKEY_USERS]\r\n" + HarvestWith(L"")).isHarvest);
    EXPECT_FALSE(Read(L"\r\n[HKEY_CLASSES_ROOT\\A]\r\n" + HarvestWith(L"")).isHarvest);
}

TEST(HarvestMarks, RootsInAnotherOrderAreNone) {
    EXPECT_FALSE(Read(L"\r\n[HKEY_CLASSES_ROOT]\r\n\r\n[HKEY_LOCAL_MACHINE]\r\n\r\n[HKEY_USERS]\r\n"
                      L"\r\n[HKEY_CURRENT_USER]\r\n")
                     .isHarvest);
}

TEST(HarvestMarks, OnlyAFileInKeyreapsFormIsOne) {
    const std::wstring five = std::wstring(headerLine) + HarvestWith(L"");
    const std::wstring four = L"REGEDIT4\r\n" + HarvestWith(L"");
    EXPECT_TRUE(ReadBytes(Utf16(five)).isHarvest);
    EXPECT_FALSE(ReadBytes(Utf16(four)).isHarvest);
    EXPECT_FALSE(ReadBytes(Bytes(five.begin(), five.end())).isHarvest);
    EXPECT_FALSE(ReadBytes(Utf16(Without(five, L'\r'))).isHarvest);
}

TEST(HarvestMarks, RootsAndTheTwoKeysOfTheRedirectionAreTheCapturesOwn) {
    EXPECT_EQ(OwnKeys(Read(HarvestWith(L"\r\n[HKEY_CLASSES_ROOT\\A]\r\n"))),
              (std::vector<std::wstring>{L"HKEY_CLASSES_ROOT", L"HKEY_CURRENT_USER", L"HKEY_USERS",
                                         L"HKEY_LOCAL_MACHINE", L"HKEY_LOCAL_MACHINE\\Software",
                                         L"HKEY_LOCAL_MACHINE\\Software\\Classes"}));
}

TEST(HarvestMarks, KeyWithAValueIsNotTheCapturesOwn) {
    EXPECT_EQ(OwnKeys(Read(HarvestWith(L"@=\"a\"\r\n"))).front(), L"HKEY_CURRENT_USER");
}

TEST(HarvestMarks, OutsideAHarvestNoKeyIsTheCapturesOwn) {
    EXPECT_TRUE(OwnKeys(Read(L"\r\n[HKEY_LOCAL_MACHINE\\Software]\r\n")).empty());
}

TEST(HarvestMarks, LineBreakOfAnotherTextIsNoEmptyLastLine) {
    const std::wstring content = HarvestWith(L"") + L"@=hex(b):\r\n\r\n";
    EXPECT_FALSE(Read(content).style.hasEmptyLastLine);
    EXPECT_EQ(Read(content).sections.back().entries[0].otherText, L"\r\n");
    ExpectSame(content);
}

} // namespace
} // namespace keyreap::testsupport
