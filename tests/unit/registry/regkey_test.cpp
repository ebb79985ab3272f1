#include "registry/regkey.h"
#include "tests/support/scratchkey.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::ScratchKey;

const std::wstring scratchPath = ScratchKey::path;

class RegKeyTest : public testing::Test {
protected:
    RegKey Opened(const std::wstring& subkey) const {
        return RegKey(scratchPath + L"\\" + subkey, HKEY_CURRENT_USER, true);
    }

    ScratchKey scratch;
};

TEST(RegKeyNames, FullNameLosesOneTrailingBackslashAndPathKeepsIt) {
    const RegKey key(L"Software\\", HKEY_LOCAL_MACHINE, false);
    EXPECT_EQ(key.FullName(), L"HKEY_LOCAL_MACHINE\\Software");
    EXPECT_EQ(key.Path(), L"Software\\");
    EXPECT_EQ(RegKey(L"a\\\\", HKEY_USERS, false).FullName(), L"HKEY_USERS\\a\\");
}

TEST(RegKeyNames, EmptyPathIsTheRootAlone) {
    EXPECT_EQ(RegKey(L"", HKEY_CLASSES_ROOT, false).FullName(), L"HKEY_CLASSES_ROOT");
}

TEST(RegKeyNames, EveryPredefinedRootHasItsNameAndNoOtherHandleHasOne) {
    EXPECT_EQ(RootName(HKEY_CLASSES_ROOT), L"HKEY_CLASSES_ROOT");
    EXPECT_EQ(RootName(HKEY_CURRENT_USER), L"HKEY_CURRENT_USER");
    EXPECT_EQ(RootName(HKEY_LOCAL_MACHINE), L"HKEY_LOCAL_MACHINE");
    EXPECT_EQ(RootName(HKEY_USERS), L"HKEY_USERS");
    EXPECT_EQ(RootName(HKEY_CURRENT_CONFIG), L"");
    EXPECT_EQ(RootName(nullptr), L"");
}

TEST_F(RegKeyTest, MissingKeyHasNoHandleAndNoError) {
    const RegKey key = Opened(L"missing");
    EXPECT_EQ(key.Handle(), nullptr);
    EXPECT_EQ(key.ViewFlags(), 0U);
    EXPECT_FALSE(scratch.Has(L"missing"));
}

TEST_F(RegKeyTest, AccessFollowsWritable) {
    EXPECT_EQ(RegKey(L"Software", HKEY_CURRENT_USER, true).Access(), 0x2001FU);
    EXPECT_EQ(RegKey(L"Software", HKEY_CURRENT_USER, false).Access(), 0x20019U);
}

TEST_F(RegKeyTest, CreateChildStartsAtTheRootAndCreatesTheParents) {
    const RegKey parent = Opened(L"not\\there\\");
    const RegKey child = parent.CreateChild(L"child\\");
    EXPECT_NE(child.Handle(), nullptr);
    EXPECT_TRUE(scratch.Has(L"not\\there\\child"));
    EXPECT_EQ(parent.Handle(), nullptr);
}

TEST_F(RegKeyTest, KeyOfCreateIfMissingHasFullAccess) {
    // Writing a security descriptor takes WRITE_DAC, which is no part of read and write access.
    SECURITY_DESCRIPTOR everybody{};
    ASSERT_TRUE(InitializeSecurityDescriptor(&everybody, SECURITY_DESCRIPTOR_REVISION));
    ASSERT_TRUE(SetSecurityDescriptorDacl(&everybody, TRUE, nullptr, FALSE));
    const RegKey made = RegKey(scratchPath, HKEY_CURRENT_USER, true).CreateChild(L"made");
    EXPECT_EQ(RegSetKeySecurity(made.Handle(), DACL_SECURITY_INFORMATION, &everybody), ERROR_SUCCESS);
    const RegKey opened(scratchPath + L"\\made", HKEY_CURRENT_USER, true);
    EXPECT_NE(RegSetKeySecurity(opened.Handle(), DACL_SECURITY_INFORMATION, &everybody), ERROR_SUCCESS);
}

TEST_F(RegKeyTest, CreateIfMissingLeavesAnOpenKeyAlone) {
    RegKey key(scratchPath, HKEY_CURRENT_USER, true);
    const HKEY before = key.Handle();
    key.CreateIfMissing();
    EXPECT_EQ(key.Handle(), before);
}

TEST_F(RegKeyTest, ChildOfAPathWithATrailingBackslashHasADoubledOne) {
    const RegKey parent = Opened(L"a\\");
    EXPECT_EQ(parent.CreateChild(L"b\\").Path(), scratchPath + L"\\a\\\\b\\");
    EXPECT_EQ(RegKey(L"", HKEY_CURRENT_USER, false).OpenChild(L"b").Path(), L"b");
}

TEST_F(RegKeyTest, OpenChildIsReadOnlyAndCreatesNothing) {
    const RegKey child = Opened(L"a").OpenChild(L"b");
    EXPECT_EQ(child.Handle(), nullptr);
    EXPECT_EQ(child.Access(), RegKey::readAccess);
    EXPECT_FALSE(scratch.Has(L"a"));
}

TEST_F(RegKeyTest, FailedOpenLeavesAWorkingKeyUntouched) {
    scratch.Make(L"a");
    RegKey key = Opened(L"a");
    const HKEY before = key.Handle();
    EXPECT_NE(key.Open(HKEY_CURRENT_USER, scratchPath + L"\\missing", RegKey::readAccess), ERROR_SUCCESS);
    EXPECT_EQ(key.Handle(), before);
    EXPECT_EQ(key.EnumSubkeys().size(), 0U);
}

TEST_F(RegKeyTest, ViewFlagsAreThoseOfTheAccessUntilClose) {
    RegKey key;
    ASSERT_EQ(key.Open(HKEY_CURRENT_USER, scratchPath, RegKey::readAccess | KEY_WOW64_64KEY), ERROR_SUCCESS);
    EXPECT_EQ(key.ViewFlags(), static_cast<std::uint32_t>(KEY_WOW64_64KEY));
    key.Close();
    EXPECT_EQ(key.ViewFlags(), 0U);
    EXPECT_EQ(key.Handle(), nullptr);
}

TEST_F(RegKeyTest, DeleteKeyRefusesAKeyWithSubkeys) {
    scratch.Make(L"a\\b");
    const RegKey key(scratchPath, HKEY_CURRENT_USER, true);
    EXPECT_NE(key.DeleteKey(L"a"), ERROR_SUCCESS);
    EXPECT_TRUE(scratch.Has(L"a\\b"));
    EXPECT_EQ(Opened(L"a").DeleteKey(L"b"), ERROR_SUCCESS);
    EXPECT_FALSE(scratch.Has(L"a\\b"));
}

TEST_F(RegKeyTest, WithoutTheExtendedCallThePlainOneDeletesWhateverTheView) {
    scratch.Make(L"a");
    EXPECT_EQ(DeleteKeyThrough(nullptr, scratch.Handle(), L"a", KEY_WOW64_32KEY), ERROR_SUCCESS);
    EXPECT_FALSE(scratch.Has(L"a"));
}

REGSAM seenView = 0;

LSTATUS WINAPI RecordView(HKEY, LPCWSTR, REGSAM view, DWORD) {
    seenView = view;
    return ERROR_ACCESS_DENIED;
}

TEST_F(RegKeyTest, ExtendedCallGetsTheView) {
    EXPECT_EQ(DeleteKeyThrough(RecordView, scratch.Handle(), L"a", KEY_WOW64_32KEY), ERROR_ACCESS_DENIED);
    EXPECT_EQ(seenView, static_cast<REGSAM>(KEY_WOW64_32KEY));
}

TEST_F(RegKeyTest, DeleteSubtreeRemovesATreeOfAnyDepth) {
    std::wstring deep = L"tree";
    for (int i = 0; i < 100; ++i) {
        deep += L"\\k";
        scratch.SetText(deep, L"v", L"x");
    }
    scratch.Make(L"tree\\other\\one");
    scratch.Make(L"tree\\other\\two");
    const RegKey key(scratchPath, HKEY_CURRENT_USER, true);
    EXPECT_EQ(key.DeleteSubtree(L"tree\\"), ERROR_SUCCESS);
    EXPECT_FALSE(scratch.Has(L"tree"));
}

TEST_F(RegKeyTest, DeleteSubtreeOfAMissingKeyGivesItsStatus) {
    const RegKey key(scratchPath, HKEY_CURRENT_USER, true);
    EXPECT_EQ(key.DeleteSubtree(L"missing"), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegKeyTest, DeleteSubtreeWithoutAHandleIsAnInvalidHandle) {
    EXPECT_EQ(RegKey().DeleteSubtree(L"a"), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegKey().DeleteKey(L"a"), ERROR_INVALID_HANDLE);
}

TEST_F(RegKeyTest, DeleteSubtreeStopsAtAKeyThatCannotBeDeleted) {
    scratch.Make(L"tree\\a");
    scratch.Make(L"tree\\b\\inner");
    scratch.Make(L"tree\\c");
    const RegKey key(scratchPath, HKEY_CURRENT_USER, true);
    {
        const testsupport::DeniedKey denied(scratch.Handle(), L"tree\\b");
        EXPECT_NE(key.DeleteSubtree(L"tree"), ERROR_SUCCESS);
    }
    EXPECT_FALSE(scratch.Has(L"tree\\a"));
    EXPECT_TRUE(scratch.Has(L"tree\\b\\inner"));
    EXPECT_TRUE(scratch.Has(L"tree\\c"));
}

// A key below HKEY_LOCAL_MACHINE in both views, with a subkey in each, and the root opened in the view that
// isn't this process's own.
class OtherViewTest : public testing::Test {
protected:
    static constexpr std::uint32_t ownView = sizeof(void*) == 8 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;
    static constexpr std::uint32_t otherView = RegKey::viewMask & ~ownView;

    OtherViewTest() {
        for (const std::uint32_t view : {ownView, otherView}) {
            RegKey key;
            EXPECT_EQ(key.Create(HKEY_LOCAL_MACHINE, name + L"\\sub", RegKey::readWriteAccess | view),
                      ERROR_SUCCESS);
        }
        EXPECT_EQ(root.Open(HKEY_LOCAL_MACHINE, L"", RegKey::readWriteAccess | otherView), ERROR_SUCCESS);
    }
    ~OtherViewTest() override {
        for (const std::uint32_t view : {ownView, otherView}) {
            RegDeleteKeyExW(HKEY_LOCAL_MACHINE, (name + L"\\sub").c_str(), view, 0);
            RegDeleteKeyExW(HKEY_LOCAL_MACHINE, name.c_str(), view, 0);
        }
    }

    bool Has(const std::wstring& subkey, std::uint32_t view) const {
        return RegKey().Open(HKEY_LOCAL_MACHINE, name + subkey, RegKey::readAccess | view) == ERROR_SUCCESS;
    }

    const std::wstring name = L"Software\\KeyreapView";
    RegKey root;
};

TEST_F(OtherViewTest, DeleteKeyDeletesInTheViewOfTheOpenKey) {
    EXPECT_EQ(root.DeleteKey(name + L"\\sub"), ERROR_SUCCESS);
    EXPECT_FALSE(Has(L"\\sub", otherView));
    EXPECT_TRUE(Has(L"\\sub", ownView));
}

TEST_F(OtherViewTest, DeleteSubtreeStaysInTheViewOfTheOpenKey) {
    EXPECT_EQ(root.DeleteSubtree(name), ERROR_SUCCESS);
    EXPECT_FALSE(Has(L"", otherView));
    EXPECT_TRUE(Has(L"\\sub", ownView));
}

TEST_F(RegKeyTest, ClearSubkeysKeepsTheKeyAndItsValues) {
    scratch.Make(L"tree\\a\\b");
    scratch.Make(L"tree\\c");
    scratch.SetText(L"tree", L"v", L"x");
    const RegKey key = Opened(L"tree");
    key.ClearSubkeys();
    EXPECT_TRUE(key.EnumSubkeys().empty());
    std::wstring name;
    ValueText text;
    std::uint32_t type = 0;
    EXPECT_TRUE(key.EnumValue(0, name, text, type));
    EXPECT_EQ(name, L"v");
}

TEST_F(RegKeyTest, EnumSubkeysGivesEveryNameWhole) {
    const std::wstring longest(255, L'n');
    scratch.Make(longest);
    scratch.Make(L"a [b]");
    const RegKey key(scratchPath, HKEY_CURRENT_USER, false);
    const std::vector<std::wstring> names = key.EnumSubkeys();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(names[0].size() + names[1].size(), 255U + 5U);
}

TEST_F(RegKeyTest, EnumSubkeysOfAKeyWithoutAnyIsEmpty) {
    EXPECT_TRUE(RegKey(scratchPath, HKEY_CURRENT_USER, false).EnumSubkeys().empty());
    EXPECT_TRUE(RegKey().EnumSubkeys().empty());
}

class EnumValueTest : public RegKeyTest {
protected:
    bool Read(std::uint32_t index = 0) {
        return RegKey(scratchPath, HKEY_CURRENT_USER, false).EnumValue(index, name, text, type);
    }

    std::wstring name;
    ValueText text;
    std::uint32_t type = 0;
};

TEST_F(EnumValueTest, FalseAfterTheLastValue) {
    scratch.SetText(L"", L"v", L"x");
    EXPECT_TRUE(Read(0));
    EXPECT_EQ(type, static_cast<std::uint32_t>(REG_SZ));
    EXPECT_EQ(text, L"x");
    EXPECT_FALSE(Read(1));
}

TEST_F(EnumValueTest, LargeValuesComeWholeByTheSecondCall) {
    for (const std::size_t size : {519U, 520U, 521U, 522U, 2000U, 100000U}) {
        const std::string data(size, '\xA5');
        scratch.SetValue(L"", L"v", REG_BINARY, data.data(), data.size());
        ASSERT_TRUE(Read()) << size;
        EXPECT_EQ(text.size(), 2 * size);
        EXPECT_EQ(text.substr(text.size() - 4), L"a5a5");
    }
}

TEST_F(EnumValueTest, LargeStringComesWhole) {
    const std::wstring longText(5000, L'y');
    scratch.SetText(L"", L"v", longText);
    ASSERT_TRUE(Read());
    EXPECT_EQ(text, longText);
}

TEST_F(EnumValueTest, NamesOfUpTo260CharactersAreRead) {
    for (const std::size_t length : {259U, 260U}) {
        const std::wstring longName(length, L'n');
        scratch.SetText(L"", longName, L"x");
        ASSERT_TRUE(Read()) << length;
        EXPECT_EQ(name, longName);
        RegDeleteValueW(scratch.Handle(), longName.c_str());
    }
}

TEST_F(EnumValueTest, ThereIsNoThirdTryForALongerName) {
    scratch.SetText(L"", std::wstring(261, L'n'), L"x");
    EXPECT_FALSE(Read());
}

TEST_F(EnumValueTest, EmptyValueClearsTheText) {
    scratch.SetValue(L"", L"v", REG_BINARY, "", 0);
    text = L"before";
    ASSERT_TRUE(Read());
    EXPECT_EQ(text, L"");
}

TEST_F(EnumValueTest, QwordLeavesTheTextAsItWas) {
    const std::uint64_t number = 1;
    scratch.SetValue(L"", L"v", REG_QWORD, &number, sizeof(number));
    text = L"before";
    ASSERT_TRUE(Read());
    EXPECT_EQ(text, L"before");
    EXPECT_EQ(type, static_cast<std::uint32_t>(REG_QWORD));
}

TEST_F(EnumValueTest, FalseWithoutAHandle) {
    EXPECT_FALSE(RegKey().EnumValue(0, name, text, type));
}

class EmptyKeyChainTest : public RegKeyTest {
protected:
    bool Delete(const std::wstring& subkey) const {
        return DeleteEmptyKeyChain(HKEY_CURRENT_USER, scratchPath + L"\\" + subkey);
    }
};

TEST_F(EmptyKeyChainTest, StopsAtTheFirstParentWithAnotherChild) {
    scratch.Make(L"A\\B\\C");
    scratch.Make(L"A\\other");
    EXPECT_TRUE(Delete(L"A\\B\\C"));
    EXPECT_FALSE(scratch.Has(L"A\\B"));
    EXPECT_TRUE(scratch.Has(L"A\\other"));
}

TEST_F(EmptyKeyChainTest, DeletesParentsWithValuesOfTheirOwn) {
    scratch.Make(L"stays");
    scratch.Make(L"A\\B");
    scratch.SetText(L"A", L"v", L"x");
    EXPECT_TRUE(Delete(L"A\\B"));
    EXPECT_FALSE(scratch.Has(L"A"));
    EXPECT_TRUE(scratch.Has(L"stays"));
}

TEST_F(EmptyKeyChainTest, FalseForAKeyThatIsNotThereOrHasSubkeys) {
    scratch.Make(L"A\\B");
    EXPECT_FALSE(Delete(L"A"));
    EXPECT_FALSE(Delete(L"missing\\leaf"));
    EXPECT_FALSE(Delete(L"A\\missing"));
    EXPECT_TRUE(scratch.Has(L"A\\B"));
}

TEST_F(EmptyKeyChainTest, EmptyNameIsNeverDeleted) {
    scratch.Make(L"A");
    EXPECT_FALSE(Delete(L"A\\"));
    EXPECT_FALSE(DeleteEmptyKeyChain(scratch.Handle(), L""));
    EXPECT_TRUE(scratch.Has(L"A"));
}

TEST_F(EmptyKeyChainTest, ClimbEndsAtTheRoot) {
    HKEY root = nullptr;
    scratch.Make(L"root");
    ASSERT_EQ(RegOpenKeyExW(scratch.Handle(), L"root", 0, KEY_ALL_ACCESS, &root), ERROR_SUCCESS);
    scratch.Make(L"root\\A\\B");
    EXPECT_TRUE(DeleteEmptyKeyChain(root, L"A\\B"));
    RegCloseKey(root);
    EXPECT_FALSE(scratch.Has(L"root\\A"));
    EXPECT_TRUE(scratch.Has(L"root"));
}

} // namespace
} // namespace keyreap
