#include "platform/core/exceptionhandling.h"
#include "regfile/regfilewriter.h"
#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::FileBytes;
using testsupport::TemporaryFolder;
using testsupport::Utf16Document;

constexpr std::wstring_view headerLine = L"Windows Registry Editor Version 5.00\r\n";

class RegFileWriterTest : public testing::Test {
protected:
    std::wstring Written() const { return Utf16Document(FileBytes(path)); }

    TemporaryFolder folder;
    std::wstring path = folder.File(L"out.reg");
};

TEST_F(RegFileWriterTest, FreshFileHoldsTheMarkAndTheHeaderLine) {
    static_cast<void>(RegFileWriter(path));
    const std::string bytes = FileBytes(path);
    EXPECT_EQ(bytes.size(), 78U);
    EXPECT_EQ(bytes.substr(0, 4), std::string("\xFF\xFEW\0", 4));
    EXPECT_EQ(Written(), headerLine);
}

TEST_F(RegFileWriterTest, KeyHasABlankLineBeforeIt) {
    RegFileWriter(path).AddKey(L"HKEY_CLASSES_ROOT");
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\r\n[HKEY_CLASSES_ROOT]\r\n");
}

TEST_F(RegFileWriterTest, DeletedKeyHasAMinusSign) {
    RegFileWriter(path).AddDeletedKey(L"HKEY_USERS\\a");
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\r\n[-HKEY_USERS\\a]\r\n");
}

TEST_F(RegFileWriterTest, ValuesFollowTheirKeyWithoutBlankLines) {
    {
        RegFileWriter writer(path);
        writer.AddKey(L"K");
        writer.AddValue(L"", L"x", 1);
        writer.AddValue(L"n", L"1", 4);
    }
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\r\n[K]\r\n@=\"x\"\r\n\"n\"=dword:00000001\r\n");
}

TEST_F(RegFileWriterTest, ValueWithoutAKeyFollowsTheHeader) {
    RegFileWriter(path).AddValue(L"n", L"x", 1);
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\"n\"=\"x\"\r\n");
}

TEST_F(RegFileWriterTest, NothingIsMerged) {
    {
        RegFileWriter writer(path);
        writer.AddKey(L"K");
        writer.AddKey(L"K");
        writer.AddValue(L"n", L"x", 1);
        writer.AddValue(L"n", L"x", 1);
    }
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\r\n[K]\r\n\r\n[K]\r\n\"n\"=\"x\"\r\n\"n\"=\"x\"\r\n");
}

TEST_F(RegFileWriterTest, KeyPathIsNeitherEscapedNorReplaced) {
    {
        RegFileWriter writer(path);
        writer.AddReplacement(L"C:\\\\t", L"D:\\\\f");
        writer.AddReplacement(L"C:\\t", L"D:\\f");
        writer.AddKey(L"K\\\"q\"[x]\\C:\\t");
    }
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\r\n[K\\\"q\"[x]\\C:\\t]\r\n");
}

TEST_F(RegFileWriterTest, ReplacementActsOnLaterStringValuesInOrderOfAddition) {
    {
        RegFileWriter writer(path);
        writer.AddValue(L"before", L"a", 1);
        writer.AddReplacement(L"a", L"b");
        writer.AddReplacement(L"b", L"c");
        writer.AddValue(L"after", L"a", 1);
    }
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\"before\"=\"a\"\r\n\"after\"=\"c\"\r\n");
}

TEST_F(RegFileWriterTest, ExistingFileIsReplacedAndHasOneMark) {
    testsupport::WriteBytes(path, std::string(5000, 'x'));
    RegFileWriter(path).AddKey(L"K");
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\r\n[K]\r\n");
}

TEST_F(RegFileWriterTest, HalvesOfSurrogatePairsPassThrough) {
    const std::wstring half(1, L'\xD800');
    RegFileWriter(path).AddValue(half, half, 1);
    EXPECT_EQ(Written(), std::wstring(headerLine) + L"\"" + half + L"\"=\"" + half + L"\"\r\n");
}

TEST_F(RegFileWriterTest, MissingDirectoryFailsTheConstructorAndLeavesNoFile) {
    const std::wstring missing = folder.File(L"missing\\out.reg");
    EXPECT_THROW(RegFileWriter{missing}, Exception);
    EXPECT_EQ(GetFileAttributesW(missing.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(RegFileWriterTest, OutputCanBeReadButNotWrittenMeanwhile) {
    const RegFileWriter writer(path);
    EXPECT_EQ(Written(), headerLine);
    const HANDLE other = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                     OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(other, INVALID_HANDLE_VALUE);
}

} // namespace
} // namespace keyreap
