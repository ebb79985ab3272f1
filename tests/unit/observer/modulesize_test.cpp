#include "tools/observer/modulesize.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace keyreap {
namespace {

namespace fs = std::filesystem;

class ModuleSizeTest : public testing::Test {
protected:
    ~ModuleSizeTest() override { fs::remove_all(prefix); }

    // A file with only the fields that lead to SizeOfImage.
    void MakeImage(const std::string& path, unsigned char size) const {
        std::string bytes(0x100, '\0');
        bytes[60] = '\x40';
        bytes[0x40 + 80 + 1] = static_cast<char>(size);
        const fs::path file = prefix / "dosdevices" / path;
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
    }

    std::uint64_t Size(const std::string& path, bool is32Bit = false) const {
        return SizeInFile(prefix.string(), {path, 0, 0, true, is32Bit});
    }

    const fs::path prefix =
        fs::path(testing::TempDir()) / ("modules." + std::to_string(std::random_device()()));
};

TEST_F(ModuleSizeTest, IsReadFromTheHeadersOfTheFileInThePrefix) {
    MakeImage("z:/Folder/Server.dll", 0x20);
    EXPECT_EQ(Size("Z:\\Folder\\Server.dll"), 0x2000U);
}

TEST_F(ModuleSizeTest, OfTheSystemsModulesIsFoundInLowerCase) {
    MakeImage("c:/windows/system32/advapi32.dll", 0x30);
    EXPECT_EQ(Size("C:\\windows\\system32\\ADVAPI32.dll"), 0x3000U);
}

TEST_F(ModuleSizeTest, OfThe32BitSystemsModulesIsThatOfTheirOwnFolder) {
    MakeImage("c:/windows/system32/advapi32.dll", 0x30);
    MakeImage("c:/windows/syswow64/advapi32.dll", 0x40);
    EXPECT_EQ(Size("C:\\windows\\system32\\ADVAPI32.dll", true), 0x4000U);
}

TEST_F(ModuleSizeTest, OfAFileThatCannotBeReadIsUnknown) {
    EXPECT_EQ(Size("Z:\\nobody.dll"), 0U);
    EXPECT_EQ(Size(""), 0U);
    fs::create_directories(prefix / "dosdevices" / "z:");
    std::ofstream(prefix / "dosdevices/z:/short.dll") << "MZ";
    EXPECT_EQ(Size("Z:\\short.dll"), 0U);
}

} // namespace
} // namespace keyreap
