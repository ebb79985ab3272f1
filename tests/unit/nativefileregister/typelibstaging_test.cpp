#include "extract/nativefileregister/typelibstaging.h"
#include "platform/os/file/executablepath.h"
#include "platform/os/ownedhandle.h"
#include "tests/support/failingallocation.h"
#include "tests/support/importreplacement.h"
#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::FailNextAllocations;
using testsupport::ImportReplacement;
using testsupport::TemporaryFolder;
using testsupport::WriteBytes;

class IsTypeLibFileTest : public testing::Test {
protected:
    bool Holds(const std::string& bytes) const {
        WriteBytes(path, bytes);
        return IsTypeLibFile(WidePath(path));
    }

    TemporaryFolder folder;
    std::wstring path = folder.File(L"a.tlb");
};

TEST_F(IsTypeLibFileTest, NeedsMoreThanTheMagic) {
    EXPECT_FALSE(Holds(""));
    EXPECT_FALSE(Holds("MSF"));
    EXPECT_FALSE(Holds("MSFT"));
    EXPECT_TRUE(Holds("MSFT."));
}

TEST_F(IsTypeLibFileTest, MagicIsExact) {
    EXPECT_FALSE(Holds("msft and more"));
    EXPECT_FALSE(Holds("xMSFT and more"));
    EXPECT_FALSE(Holds("SLTG and more"));
    EXPECT_FALSE(Holds(std::string("MS\0T and more", 13)));
}

TEST_F(IsTypeLibFileTest, MissingFileIsNoTypeLibrary) {
    EXPECT_FALSE(IsTypeLibFile(WidePath(folder.File(L"missing.tlb"))));
}

TEST_F(IsTypeLibFileTest, FileThatIsAlreadyOpenIsNoTypeLibrary) {
    WriteBytes(path, "MSFT.");
    const OwnedFile other(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(IsTypeLibFile(WidePath(path)));
}

TEST_F(IsTypeLibFileTest, LeavesTheFileClosed) {
    EXPECT_TRUE(Holds("MSFT."));
    EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST(ExtractTypeLib, FileOfAnotherExtensionHasNone) {
    TemporaryPaths staged;
    EXPECT_TRUE(ExtractTypeLib(WidePath(L"C:\\a.b\\file"), staged).IsEmpty());
    EXPECT_TRUE(ExtractTypeLib(WidePath(L"C:\\windows\\system32\\oleaut32.dll"), staged).IsEmpty());
    EXPECT_TRUE(staged.files.empty());
}

TEST(ExtractTypeLib, FileThatCannotBeLoadedHasNone) {
    TemporaryPaths staged;
    EXPECT_TRUE(ExtractTypeLib(WidePath(L"C:\\missing.exe"), staged).IsEmpty());
    EXPECT_TRUE(staged.files.empty());
}

bool hasGoneOn = false;

// Memory is missing for the first name only.
BOOL WINAPI EnumerateWithoutMemory(HMODULE module, LPCWSTR type, ENUMRESNAMEPROCW callback,
                                   LONG_PTR parameter) {
    std::wstring longName(1000, L'n');
    FailNextAllocations(1);
    EXPECT_TRUE(callback(module, type, longName.data(), parameter));
    hasGoneOn = true;
    return callback(module, type, MAKEINTRESOURCEW(1), parameter);
}

TEST(ExtractTypeLib, MissingMemoryDuringTheEnumerationIsThrownAfterIt) {
    const ImportReplacement replacement("EnumResourceNamesW",
                                        reinterpret_cast<const void*>(&EnumerateWithoutMemory));
    TemporaryPaths staged;
    EXPECT_THROW(ExtractTypeLib(GetExecutablePath(), staged), std::bad_alloc);
    EXPECT_TRUE(hasGoneOn);
    EXPECT_TRUE(staged.files.empty());
}

} // namespace
} // namespace keyreap
