#include "platform/core/exceptionhandling.h"
#include "registry/harvest.h"
#include "tests/support/scratchkey.h"
#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::FileBytes;
using testsupport::ScratchKey;
using testsupport::TemporaryFolder;
using testsupport::Utf16Document;

const std::wstring scratchPath = ScratchKey::path;
constexpr std::wstring_view headerLine = L"Windows Registry Editor Version 5.00\r\n";

// The four keys of a temporary tree, below a scratch key.
class HarvestTest : public testing::Test {
protected:
    static RegKey Hive(const wchar_t* name) {
        return RegKey(scratchPath, HKEY_CURRENT_USER, true).CreateChild(name);
    }

    HiveKeys Keys() const { return {hkcr, hkcu, hku, hklm}; }

    std::wstring Harvested(const RegKey& key, const std::wstring& keyPath) {
        {
            RegFileWriter writer(path);
            HarvestKey(writer, key, keyPath);
        }
        return WrittenBehindHeader();
    }

    std::wstring WrittenBehindHeader() const {
        const std::wstring text = Utf16Document(FileBytes(path));
        EXPECT_EQ(text.substr(0, headerLine.size()), headerLine);
        return text.substr(headerLine.size());
    }

    ScratchKey scratch;
    TemporaryFolder folder;
    std::wstring path = folder.File(L"out.reg");
    RegKey hkcr = Hive(L"HKCR\\");
    RegKey hkcu = Hive(L"HKCU\\");
    RegKey hku = Hive(L"HKU\\");
    RegKey hklm = Hive(L"HKLM\\");
};

TEST_F(HarvestTest, EmptyTreesAreFourRootsInTheirOrder) {
    {
        RegFileWriter writer(path);
        HarvestTrees(writer, Keys());
    }
    EXPECT_EQ(WrittenBehindHeader(),
              L"\r\n[HKEY_CLASSES_ROOT]\r\n\r\n[HKEY_CURRENT_USER]\r\n\r\n[HKEY_USERS]\r\n"
              L"\r\n[HKEY_LOCAL_MACHINE]\r\n");
}

TEST_F(HarvestTest, PathPairsAreFormedWhenTheFileIsThereAndApplyInTheirOrder) {
    scratch.SetText(L"HKCR", L"file", L"C:\\tmp\\x.dll");
    scratch.SetText(L"HKCR", L"neighbour", L"C:\\tmp\\y.dll");
    bool wasThere = false;
    EXPECT_TRUE(HarvestHives(path, Keys(), [&] {
        wasThere = testsupport::Exists(path);
        return PathPairs{{L"C:\\tmp\\x.dll", L"D:\\own.dll"}, {L"C:\\tmp", L"E:"}};
    }));
    EXPECT_TRUE(wasThere);
    EXPECT_EQ(WrittenBehindHeader(),
              L"\r\n[HKEY_CLASSES_ROOT]\r\n\"file\"=\"D:\\\\own.dll\"\r\n\"neighbour\"=\"E:\\\\y.dll\"\r\n"
              L"\r\n[HKEY_CURRENT_USER]\r\n\r\n[HKEY_USERS]\r\n\r\n[HKEY_LOCAL_MACHINE]\r\n");
}

TEST_F(HarvestTest, WithoutAFileNoPathPairIsFormed) {
    bool wereFormed = false;
    EXPECT_THROW(HarvestHives(folder.Path(), Keys(),
                              [&] {
                                  wereFormed = true;
                                  return PathPairs();
                              }),
                 Exception);
    EXPECT_FALSE(wereFormed);
}

TEST_F(HarvestTest, ValuesComeBeforeSubkeysAndSubtreesAreWhole) {
    scratch.SetText(L"HKCR\\A", L"v", L"1");
    scratch.SetText(L"HKCR\\A\\B", L"", L"2");
    scratch.Make(L"HKCR\\A\\B\\C");
    scratch.Make(L"HKCR\\D");
    EXPECT_EQ(Harvested(hkcr, L"R"), L"\r\n[R]\r\n\r\n[R\\A]\r\n\"v\"=\"1\"\r\n\r\n[R\\A\\B]\r\n@=\"2\"\r\n"
                                     L"\r\n[R\\A\\B\\C]\r\n\r\n[R\\D]\r\n");
}

TEST_F(HarvestTest, QwordIsWrittenFromTheTextOfTheValueBeforeIt) {
    const std::uint64_t number = 0x1122334455667788;
    const DWORD sixteen = 16;
    scratch.SetValue(L"HKCR\\A", L"a", REG_DWORD, &sixteen, sizeof(sixteen));
    scratch.SetValue(L"HKCR\\A", L"b", REG_QWORD, &number, sizeof(number));
    scratch.SetValue(L"HKCR\\B", L"first", REG_QWORD, &number, sizeof(number));
    EXPECT_EQ(Harvested(hkcr, L"R"), L"\r\n[R]\r\n\r\n[R\\A]\r\n\"a\"=dword:00000010\r\n\"b\"=hex(b):16\r\n"
                                     L"\r\n[R\\B]\r\n\"first\"=hex(b):\r\n");
}

TEST_F(HarvestTest, ValueOfManyBytesComesOutWhole) {
    const std::string data(100000, '\x5A');
    scratch.SetValue(L"HKCR", L"v", REG_BINARY, data.data(), data.size());
    const std::wstring text = Harvested(hkcr, L"R");
    std::size_t pairs = 0;
    for (std::size_t at = text.find(L"5a"); at != std::wstring::npos; at = text.find(L"5a", at + 2)) {
        ++pairs;
    }
    EXPECT_EQ(pairs, 100000U);
}

TEST_F(HarvestTest, KeyThatCannotBeOpenedIsABareHeader) {
    EXPECT_EQ(Harvested(RegKey(), L"R\\gone"), L"\r\n[R\\gone]\r\n");
}

TEST_F(HarvestTest, NameThatDoesNotFitEndsTheValuesOfItsKeyAlone) {
    scratch.SetText(L"HKCR\\A", L"a", L"1");
    scratch.SetText(L"HKCR\\A", std::wstring(300, L'b'), L"2");
    scratch.SetText(L"HKCR\\A", L"c", L"3");
    scratch.SetText(L"HKCR\\B", L"d", L"4");
    EXPECT_EQ(Harvested(hkcr, L"R"),
              L"\r\n[R]\r\n\r\n[R\\A]\r\n\"a\"=\"1\"\r\n\r\n[R\\B]\r\n\"d\"=\"4\"\r\n");
}

} // namespace
} // namespace keyreap
