// Keys called Wow6432Node in the temporary tree, where this name has no special meaning.
#include "registry/harvest.h"
#include "registry/hiveredirection.h"
#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using Names = std::vector<std::wstring>;

constexpr wchar_t ownKey[] = L"Software\\Velmoro";
constexpr wchar_t treeName[] = L"KeyreapScratch";
const std::wstring treePath = std::wstring(ownKey) + L"\\" + treeName;

class NodesTest : public testing::Test {
protected:
    NodesTest() {
        RunningVersion();
        VistaVersion();
    }
    ~NodesTest() override {
        for (const HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_USERS, HKEY_LOCAL_MACHINE}) {
            RegOverridePredefKey(root, nullptr);
        }
        RegKey(ownKey, HKEY_CURRENT_USER, true).DeleteSubtree(treeName);
    }

    // Writes a key's name into its default value, and treats no name of the path specially.
    static void Write(const std::wstring& path) {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, (treePath + L"\\" + path).c_str(), 0, nullptr, 0,
                                  KEY_READ | KEY_WRITE | KEY_WOW64_64KEY, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        EXPECT_EQ(RegSetValueExW(key, L"", 0, REG_SZ, reinterpret_cast<const BYTE*>(path.c_str()),
                                 static_cast<DWORD>((path.size() + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }
    static bool Has(const std::wstring& path) {
        HKEY key = nullptr;
        const LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, (treePath + L"\\" + path).c_str(), 0,
                                             KEY_READ | KEY_WOW64_64KEY, &key);
        RegCloseKey(key);
        return status == ERROR_SUCCESS;
    }
    static RegKey Child(const wchar_t* name) {
        return RegKey(treePath, HKEY_CURRENT_USER, true).CreateChild(name);
    }
};

TEST_F(NodesTest, AKeyWithANodeIsOpenedItselfByPathAndByHandle) {
    Write(L"Key\\Plain");
    Write(L"Key\\Wow6432Node\\Below");
    EXPECT_EQ(Child(L"Key").EnumSubkeys(), (Names{L"Plain", L"Wow6432Node"}));
    EXPECT_EQ(Child(L"Key").OpenChild(L"Wow6432Node").EnumSubkeys(), (Names{L"Below"}));
    RegKey byHandle;
    EXPECT_EQ(byHandle.Open(Child(L"Key").Handle(), L"Wow6432Node", RegKey::readAccess), ERROR_SUCCESS);
    EXPECT_EQ(byHandle.EnumSubkeys(), (Names{L"Below"}));
}

TEST_F(NodesTest, AccessAndViewOfAKeyAreThoseThatWereAskedFor) {
    const RegKey key = Child(L"Key");
    EXPECT_EQ(key.ViewFlags(), 0U);
    EXPECT_EQ(key.Access(), 0x2001FU);
}

TEST_F(NodesTest, ClearingDeletesBothSidesOfEveryNode) {
    Write(L"Hive\\A\\Plain\\Wow6432Node\\Deep");
    Write(L"Hive\\A\\Wow6432Node\\Below\\Wow6432Node");
    Write(L"Hive\\Wow6432Node\\Wow6432Node\\A");
    Child(L"Hive").ClearSubkeys();
    EXPECT_TRUE(Has(L"Hive"));
    EXPECT_FALSE(Has(L"Hive\\A"));
    EXPECT_FALSE(Has(L"Hive\\Wow6432Node"));
}

TEST_F(NodesTest, OneDeletionTakesTheWholeSubtreeAndNothingBesideIt) {
    Write(L"Tree\\Plain");
    Write(L"Tree\\Wow6432Node\\Below");
    Write(L"Wow6432Node\\Tree\\Beside");
    EXPECT_EQ(RegKey(treePath, HKEY_CURRENT_USER, true).DeleteSubtree(L"Tree\\"), ERROR_SUCCESS);
    EXPECT_FALSE(Has(L"Tree"));
    EXPECT_TRUE(Has(L"Wow6432Node\\Tree\\Beside"));
}

TEST_F(NodesTest, AChainOfKeysEndsWhereAParentHasANode) {
    Write(L"A\\B\\C");
    Write(L"A\\Wow6432Node\\B");
    EXPECT_TRUE(DeleteEmptyKeyChain(HKEY_CURRENT_USER, treePath + L"\\A\\B\\C"));
    EXPECT_FALSE(Has(L"A\\B"));
    EXPECT_TRUE(Has(L"A\\Wow6432Node\\B"));
}

TEST_F(NodesTest, TheHarvestHasEveryKeyUnderTheNameThatItHas) {
    Write(L"HKLM\\Software\\A");
    Write(L"HKLM\\Software\\Wow6432Node\\A");
    testsupport::TemporaryFolder folder;
    const std::wstring file = folder.File(L"out.reg");
    {
        RegFileWriter writer(file);
        HarvestKey(writer, Child(L"HKLM"), L"HKEY_LOCAL_MACHINE");
    }
    EXPECT_EQ(testsupport::Utf16Document(testsupport::FileBytes(file)),
              L"Windows Registry Editor Version 5.00\r\n"
              L"\r\n[HKEY_LOCAL_MACHINE]\r\n\r\n[HKEY_LOCAL_MACHINE\\Software]\r\n"
              L"\r\n[HKEY_LOCAL_MACHINE\\Software\\A]\r\n@=\"HKLM\\\\Software\\\\A\"\r\n"
              L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node]\r\n"
              L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\A]\r\n"
              L"@=\"HKLM\\\\Software\\\\Wow6432Node\\\\A\"\r\n");
}

TEST_F(NodesTest, LiftingTheOverridesNeverTakesANodeInSoftwaresPlace) {
    const RegKey hkcr = Child(L"HKCR");
    const RegKey hkcu = Child(L"HKCU");
    const RegKey hku = Child(L"HKU");
    const RegKey hklm = Child(L"HKLM");
    OverrideRoots({hkcr, hkcu, hku, hklm});
    HKEY node = nullptr;
    EXPECT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node", &node), ERROR_SUCCESS);
    RegCloseKey(node);
    LiftOverrides({hkcr, hkcu, hku, hklm});
    EXPECT_TRUE(Has(L"HKLM\\Software\\Wow6432Node"));
}

} // namespace
} // namespace keyreap
