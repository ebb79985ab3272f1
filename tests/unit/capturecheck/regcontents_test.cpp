#include "tools/capturecheck/regcontents.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

const std::u16string header = u"Windows Registry Editor Version 5.00\r\n";
const std::u16string filler(10, u'\x5555');

RegContents ContentsOf(const std::u16string& entries) {
    return ContentsOfText(header + u"\r\n[K]\r\n" + entries);
}

TEST(RegContentsTest, CountsKeysAndValues) {
    const RegContents contents = ContentsOf(u"@=\"x\"\r\n\"b\"=dword:00000001\r\n\r\n[K\\L]\r\n");
    EXPECT_EQ(contents.keys, 2u);
    EXPECT_EQ(contents.values, 2u);
    EXPECT_EQ(contents.fillers, 0u);
    EXPECT_FALSE(contents.namesTemporaryTree);
    EXPECT_TRUE(contents.isWhole);
}

TEST(RegContentsTest, CountsOddEntriesAsOne) {
    for (const char16_t* entry :
         {u"\"\\\"=\"x\"", u"\"x\"=\"\\\"", u"\"x\"=\"a\r\n[no key]\r\n@=\\\"no value\\\"\"",
          u"\"x\"=hex:00,\\\r\n  01", u"@=", u"\"\"a\"=\"x\"", u"\"\"\"=\"x\"", u"\"a\\\"b\"=\"\"x\"",
          u"\"a\r\n[b]\"=\"x\""}) {
        const RegContents contents = ContentsOf(std::u16string(entry) + u"\r\n\"last\"=dword:00000001\r\n");
        EXPECT_EQ(contents.keys, 1u) << std::string(entry, entry + std::u16string(entry).size());
        EXPECT_EQ(contents.values, 2u) << std::string(entry, entry + std::u16string(entry).size());
    }
}

TEST(RegContentsTest, KnowsFillersByTheirWholeText) {
    EXPECT_EQ(ContentsOf(u"\"a\"=\"" + filler + u"\"\r\n@=\"" + filler + u"\"\r\n").fillers, 2u);
    EXPECT_EQ(ContentsOf(u"\"a\"=\"" + filler + u"x\"\r\n").fillers, 0u);
    EXPECT_EQ(ContentsOf(u"\"" + filler + u"\"=\"x\"\r\n").fillers, 0u);
    EXPECT_EQ(ContentsOf(u"\"a\"=\"b\r\n" + filler + u"\"\r\n").fillers, 0u);
}

TEST(RegContentsTest, FindsTheTemporaryTreeInKeysAndTexts) {
    const std::u16string key =
        u"[HKEY_CURRENT_USER\\SOFTWARE\\Velmoro\\Tesselink\\Temporary\\HKCR]\r\n@=\"x\"\r\n";
    EXPECT_TRUE(ContentsOf(key).namesTemporaryTree);
    EXPECT_TRUE(
        ContentsOf(u"@=\"Software\\\\Velmoro\\\\Tesselink\\\\Temporary\\\\HKLM\"\r\n").namesTemporaryTree);
    EXPECT_TRUE(ContentsOf(u"@=\"Software\\\\Velmoro\\\\Tesselink\\\\Temporary\"\r\n").namesTemporaryTree);
    EXPECT_FALSE(ContentsOf(u"@=\"Software\\\\Velmoro\\\\Tesselink\\\\Temporary2\"\r\n").namesTemporaryTree);
    EXPECT_FALSE(ContentsOf(u"[HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink]\r\n").namesTemporaryTree);
}

TEST(RegContentsTest, FindsKeysWithoutARoot) {
    EXPECT_TRUE(ContentsOf(u"\r\n[HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\Software\\K]\r\n").hasKeyWithoutRoot);
    EXPECT_TRUE(ContentsOf(u"\r\n[UNKNOWN!!Software\\K]\r\n").hasKeyWithoutRoot);
    EXPECT_FALSE(ContentsOf(u"\r\n[HKEY_USERS\\S-1-12-1-1-2-3-4\\K]\r\n").hasKeyWithoutRoot);
    EXPECT_FALSE(ContentsOf(u"@=\"a\r\n[UNKNOWN!!K]\"\r\n").hasKeyWithoutRoot);
}

TEST(RegContentsTest, IsWholeFromTheHeaderToTheEndOfALine) {
    EXPECT_TRUE(ContentsOfText(header).isWhole);
    EXPECT_FALSE(ContentsOfText(header + u"\r\n[K").isWhole);
    EXPECT_FALSE(ContentsOfText(u"[K]\r\n").isWhole);
    EXPECT_FALSE(ContentsOfText(u"").isWhole);
}

TEST(RegContentsTest, ReadsLittleEndianBytesAfterTheMark) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : header) {
        bytes.append({static_cast<char>(unit), '\0'});
    }
    EXPECT_TRUE(ContentsOfBytes(std::as_bytes(std::span(bytes))).isWhole);
    EXPECT_FALSE(ContentsOfBytes(std::as_bytes(std::span(bytes).first(bytes.size() - 1))).isWhole);
    EXPECT_FALSE(ContentsOfBytes(std::as_bytes(std::span(bytes).subspan(2))).isWhole);
    EXPECT_FALSE(ContentsOfBytes({}).isWhole);
}

} // namespace
} // namespace keyreap
