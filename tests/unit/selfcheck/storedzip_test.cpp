#include "tools/selfcheck/storedzip.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// The check value that the catalogues of checksums give for CRC-32.
TEST(Crc32, IsTheOneOfZipFiles) {
    EXPECT_EQ(Crc32("123456789"), 0xCBF43926U);
    EXPECT_EQ(Crc32(""), 0U);
}

TEST(StoredZip, WithoutFilesIsTheEndOfADirectory) {
    EXPECT_EQ(StoredZip().Bytes(), std::string("PK\x05\x06", 4) + std::string(18, '\0'));
}

TEST(StoredZip, HasTheFileThenTheDirectoryThenItsEnd) {
    StoredZip zip;
    zip.Add("a.txt", "123456789");
    const std::string facts("\x0a\0\0\0\0\0\0\0\x21\0\x26\x39\xf4\xcb\x09\0\0\0\x09\0\0\0\x05\0\0\0", 26);
    const std::string file = std::string("PK\x03\x04", 4) + facts + "a.txt123456789";
    const std::string directory =
        std::string("PK\x01\x02\x0a\0", 6) + facts + std::string(14, '\0') + "a.txt";
    const std::string end("PK\x05\x06\0\0\0\0\x01\0\x01\0\x33\0\0\0\x2c\0\0\0\0\0", 22);
    EXPECT_EQ(zip.Bytes(), file + directory + end);
}

TEST(StoredZip, TheDirectoryHasThePlaceOfEachFile) {
    StoredZip zip;
    zip.Add("a", "x");
    zip.Add("b", "");
    const std::string bytes = zip.Bytes();
    const std::size_t second = bytes.rfind("PK\x01\x02");
    EXPECT_EQ(bytes.substr(second + 42, 5), std::string("\x20\0\0\0", 4) + "b");
    EXPECT_EQ(bytes.substr(32, 4), "PK\x03\x04");
}

} // namespace
} // namespace keyreap
