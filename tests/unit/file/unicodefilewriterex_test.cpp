#include "platform/core/exceptionhandling.h"
#include "platform/core/message.h"
#include "platform/os/file/unicodefilewriterex.h"
#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::FileBytes;
using testsupport::TemporaryFolder;
using namespace std::string_view_literals;
using namespace std::string_literals;

class UnicodeFileWriter : public testing::Test {
protected:
    std::string Bytes() const { return FileBytes(path); }

    // The contents of a file after two separate writes.
    std::string TwoWrites(TextFileSettings settings, std::wstring_view first,
                          std::wstring_view second) const {
        UnicodeFileWriterEx writer(path, settings);
        writer.Write(first);
        writer.Write(second);
        return Bytes();
    }

    TemporaryFolder folder;
    std::wstring path = folder.File(L"out.reg");
};

// The exception of a failing write.
Exception RaisedBy(UnicodeFileWriterEx& writer, std::wstring_view text) {
    try {
        writer.Write(text);
    } catch (const Exception& exception) {
        return exception;
    }
    ADD_FAILURE() << "nothing was raised";
    return Exception(L"", 0);
}

TEST_F(UnicodeFileWriter, FreshFileGetsTheMarkAndTheFirstText) {
    UnicodeFileWriterEx writer(path);
    writer.Write(L"Az");
    EXPECT_EQ(Bytes(), "\xFF\xFE"
                       "A\0z\0"s);
}

TEST_F(UnicodeFileWriter, LaterTextsGrowTheFileByTwiceTheirLength) {
    UnicodeFileWriterEx writer(path);
    writer.Write(L"first");
    const std::size_t before = Bytes().size();
    writer.Write(L"second\r\n");
    EXPECT_EQ(Bytes().size(), before + 16);
    EXPECT_EQ(Bytes().substr(before), "s\0e\0c\0o\0n\0d\0\r\0\n\0"s);
}

TEST_F(UnicodeFileWriter, ExistingFileIsEmptiedAndStartsWithTheMarkAgain) {
    testsupport::WriteBytes(path, std::string(1000, 'x'));
    UnicodeFileWriterEx writer(path);
    EXPECT_EQ(Bytes(), "");
    writer.Write(L"A");
    EXPECT_EQ(Bytes(), "\xFF\xFE"
                       "A\0"s);
}

TEST_F(UnicodeFileWriter, EmptyTextWritesNoMarkAndTheNextTextDoes) {
    UnicodeFileWriterEx writer(path);
    writer.Write(L"");
    EXPECT_EQ(Bytes(), "");
    writer.Write(L"A");
    EXPECT_EQ(Bytes(), "\xFF\xFE"
                       "A\0"s);
}

TEST_F(UnicodeFileWriter, LineEndsNulsAndLoneSurrogatesAreKept) {
    UnicodeFileWriterEx writer(path);
    writer.Write(L"\n");
    writer.Write(L"\r\xD800\0"sv);
    EXPECT_EQ(Bytes(), "\xFF\xFE\n\0\r\0\0\xD8\0\0"s);
}

TEST_F(UnicodeFileWriter, OthersMayReadTheFileButNotWriteIt) {
    UnicodeFileWriterEx writer(path);
    writer.Write(L"A");
    const OwnedFile reader(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(reader.Valid());
    const OwnedFile second(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(second.Valid());
}

TEST_F(UnicodeFileWriter, MissingDirectoryIsRaisedByTheFirstWriteAndNotTheConstructor) {
    const std::wstring missing = folder.File(L"missing\\out.reg");
    UnicodeFileWriterEx writer(missing);
    const Exception raised = RaisedBy(writer, L"A");
    EXPECT_EQ(raised.SourceLine(), 47U);
    EXPECT_EQ(raised.SourceFile(), L"unicodefilewriterex");
    EXPECT_EQ(raised.Message(), FormatResourceString(65013, {missing}));
    EXPECT_NE(raised.Message().find(missing), std::wstring::npos);
}

TEST_F(UnicodeFileWriter, EmptyTextWithoutAnOpenFileIsRaisedToo) {
    UnicodeFileWriterEx writer(folder.File(L"missing\\out.reg"));
    EXPECT_EQ(RaisedBy(writer, L"").SourceLine(), 47U);
}

TEST_F(UnicodeFileWriter, FailedWriteNamesTheFile) {
    // A pipe whose other end is closed takes no more bytes.
    const std::wstring pipe = L"\\\\.\\pipe\\keyreap" + std::to_wstring(GetCurrentProcessId());
    OwnedFile otherEnd(
        CreateNamedPipeW(pipe.c_str(), PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE, 1, 0, 0, 0, nullptr));
    ASSERT_TRUE(otherEnd.Valid());
    UnicodeFileWriterEx writer(pipe);
    otherEnd.Reset();
    const Exception raised = RaisedBy(writer, L"B");
    EXPECT_EQ(raised.SourceLine(), 50U);
    EXPECT_EQ(raised.Message(), FormatResourceString(65014, {pipe}));
    EXPECT_NE(raised.Message().find(pipe), std::wstring::npos);
}

TEST_F(UnicodeFileWriter, TextWithoutBytesIsRaisedWithoutThePath) {
    TextFileSettings settings;
    settings.encoding = static_cast<TextEncoding>(10);
    UnicodeFileWriterEx writer(path, settings);
    const Exception raised = RaisedBy(writer, L"A");
    EXPECT_EQ(raised.SourceLine(), 44U);
    EXPECT_EQ(raised.Message(), FormatResourceString(65010));
    EXPECT_EQ(Bytes(), "");
}

TEST_F(UnicodeFileWriter, OutcomesHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(TextFileWriteResult::written), 0);
    EXPECT_EQ(static_cast<int>(TextFileWriteResult::noOpenFile), 1);
    EXPECT_EQ(static_cast<int>(TextFileWriteResult::notUsed), 2);
    EXPECT_EQ(static_cast<int>(TextFileWriteResult::noBytes), 3);
    EXPECT_EQ(static_cast<int>(TextFileWriteResult::writeFailed), 4);
}

TEST_F(UnicodeFileWriter, AppendGoesOnAtTheEndWithoutASecondMark) {
    UnicodeFileWriterEx(path).Write(L"A");
    TextFileSettings settings;
    settings.append = true;
    UnicodeFileWriterEx(path, settings).Write(L"B");
    EXPECT_EQ(Bytes(), "\xFF\xFE"
                       "A\0B\0"s);
}

TEST_F(UnicodeFileWriter, AppendMakesAMissingFileWithItsMark) {
    TextFileSettings settings;
    settings.append = true;
    EXPECT_EQ(TwoWrites(settings, L"A", L"B"), "\xFF\xFE"
                                               "A\0B\0"s);
}

TEST_F(UnicodeFileWriter, EveryEncodingWritesItsMarkOnce) {
    const struct {
        TextEncoding encoding;
        std::string expected;
    } cases[] = {
        {TextEncoding::lowBytes, "\xE9"
                                 "A"},
        {TextEncoding::utf8WithMark, "\xEF\xBB\xBF\xC3\xA9"
                                     "A"},
        {TextEncoding::utf8, "\xC3\xA9"
                             "A"},
        {TextEncoding::utf16LittleEndianWithMark, "\xFF\xFE\xE9\0A\0"s},
        {TextEncoding::utf16LittleEndian, "\xE9\0A\0"s},
        {TextEncoding::utf16BigEndianWithMark, "\xFE\xFF\0\xE9\0A"s},
        {TextEncoding::utf16BigEndian, "\0\xE9\0A"s},
        {TextEncoding::westernEuropean, "\xE9"
                                        "A"},
        {TextEncoding::westernEuropeanToo, "\xE9"
                                           "A"},
    };
    for (const auto& [encoding, expected] : cases) {
        TextFileSettings settings;
        settings.encoding = encoding;
        EXPECT_EQ(TwoWrites(settings, L"\xE9", L"A"), expected) << static_cast<int>(encoding);
    }
}

TEST_F(UnicodeFileWriter, SystemCodePageConvertsThroughTheSystem) {
    TextFileSettings settings;
    settings.encoding = TextEncoding::systemCodePage;
    EXPECT_EQ(TwoWrites(settings, L"A", L"z"), "Az");
}

TEST_F(UnicodeFileWriter, CodePageReplacesTheEncodingAndHasNoMark) {
    TextFileSettings settings;
    settings.codePage = 65001;
    EXPECT_EQ(TwoWrites(settings, L"\xE9", L"\x20AC"), "\xC3\xA9\xE2\x82\xAC");
}

TEST_F(UnicodeFileWriter, TakesTheExtendedLengthFormOfALongPath) {
    const std::wstring name = folder.NameForLength(298);
    folder.MakeFolder(name.substr(0, name.rfind(L'\\')));
    UnicodeFileWriterEx writer(L"\\\\?\\" + folder.File(name));
    writer.Write(L"A");
    EXPECT_EQ(FileBytes(folder.File(name)), "\xFF\xFE"
                                            "A\0"s);
}

} // namespace
} // namespace keyreap
