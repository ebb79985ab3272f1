#include "kit/check/comparedkey.h"
#include "tests/unit/check/checkedfacts.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::DocumentOf;
using testsupport::NumberData;
using testsupport::TextData;

RegEntry EntryOf(std::wstring_view line) {
    return DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", line}).sections.front().entries.front();
}

TEST(ComparedKey, ClassesRootIsTheMachinesClasses) {
    EXPECT_EQ(ComparedKey(L"HKEY_CLASSES_ROOT\\CLSID", 64),
              ComparedKey(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\clsid", 64));
    EXPECT_NE(ComparedKey(L"HKEY_CLASSES_ROOTS\\a", 64),
              ComparedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classess\\a", 64));
}

TEST(ComparedKey, OnlyA32BitServersKeysLoseTheNode) {
    EXPECT_EQ(ComparedKey(L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\a", 32),
              L"hkey_local_machine\\software\\a");
    EXPECT_EQ(ComparedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\WOW6432NODE", 32),
              L"hkey_local_machine\\software\\classes");
    EXPECT_EQ(ComparedKey(L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\a", 64),
              L"hkey_local_machine\\software\\wow6432node\\a");
    EXPECT_EQ(ComparedKey(L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Nodes\\a", 32),
              L"hkey_local_machine\\software\\wow6432nodes\\a");
}

TEST(ComparedKey, ANumberedControlSetIsTheCurrentOne) {
    EXPECT_EQ(ComparedKey(L"HKEY_LOCAL_MACHINE\\System\\ControlSet001\\Control", 64),
              L"hkey_local_machine\\system\\currentcontrolset\\control");
}

TEST(AreSameData, ATextEndsAtItsFirstNul) {
    EXPECT_TRUE(AreSameData(EntryOf(L"@=\"a\""), {1, UnitData(std::wstring(L"a\0b\0", 4))}));
    EXPECT_TRUE(AreSameData(EntryOf(L"@=\"a\""), {1, UnitData(L"a")}));
    EXPECT_FALSE(AreSameData(EntryOf(L"@=\"a\""), TextData(L"b")));
}

TEST(AreSameData, TheTypeCountsToo) {
    EXPECT_FALSE(AreSameData(EntryOf(L"@=\"a\""), {2, TextData(L"a").data}));
    EXPECT_FALSE(AreSameData(EntryOf(L"@=dword:00000001"), NumberData(2)));
}

TEST(AreSameData, AnEntryThatIsNoValueIsNotCompared) {
    EXPECT_TRUE(AreSameData(EntryOf(L"@="), {11, {1, 2, 3, 4, 5, 6, 7, 8}}));
    EXPECT_FALSE(AreSameData(EntryOf(L"@=\"a\""), {11, {1, 2, 3, 4, 5, 6, 7, 8}}));
}

TEST(MayBeSameFile, SystemFoldersOfBothBitnessesAreOne) {
    EXPECT_TRUE(MayBeSameFile(EntryOf(L"@=\"C:\\\\windows\\\\system32\\\\ole32.dll\""),
                              TextData(L"C:\\Windows\\SysWOW64\\OLE32.dll")));
    EXPECT_FALSE(MayBeSameFile(EntryOf(L"@=\"a\""), TextData(L"A")));
}

TEST(AreGuids, BothSidesHaveToBe) {
    const RegEntry guid = EntryOf(L"@=\"{B29A312E-EB83-43BC-A846-E0C0563B8877}\"");
    EXPECT_TRUE(AreGuids(guid, TextData(L"b29a312e-eb83-43bc-a846-e0c0563b8870")));
    EXPECT_FALSE(AreGuids(guid, TextData(L"b")));
}

} // namespace
} // namespace keyreap
