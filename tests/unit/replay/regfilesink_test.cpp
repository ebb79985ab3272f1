#include "regfile/regtext.h"
#include "tests/support/temporaryfolder.h"
#include "tests/unit/replay/livekey.h"
#include "trace/replay/regfilesink.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace keyreap {
namespace {

using testsupport::FileBytes;
using testsupport::TemporaryFolder;
using testsupport::Utf16Document;

constexpr std::wstring_view headerLine = L"Windows Registry Editor Version 5.00\r\n";

class RegFileSinkTest : public testing::Test {
protected:
    explicit RegFileSinkTest(KeyOrder order = KeyOrder::sorted) : sink(std::in_place, regFile, order) {}

    // An operation on the test's key in the live registry.
    void Value(const std::wstring& subkey, const std::wstring& name, Outcome kind = Outcome::set) {
        sink->OnValue(currentUserRoot, key.Path(subkey), name, kind);
    }

    void Key(PredefinedRoot root, const std::wstring& path, Outcome state = Outcome::created) {
        sink->OnKey(root, path, state, 0, 0);
    }

    // Ends the document and returns the text after its header line.
    std::wstring Written() {
        sink->Flush();
        sink.reset();
        const std::wstring text = Utf16Document(FileBytes(regFile));
        EXPECT_EQ(text.substr(0, headerLine.size()), headerLine);
        return text.substr(headerLine.size());
    }

    LiveKey key{HKEY_CURRENT_USER, L"Software\\KeyreapSink"};
    TemporaryFolder folder;
    std::wstring regFile = folder.File(L"out.reg");
    std::optional<RegFileSink> sink;
};

class UnsortedRegFileSinkTest : public RegFileSinkTest {
protected:
    UnsortedRegFileSinkTest() : RegFileSinkTest(KeyOrder::asReported) {}
};

// Keys.

TEST_F(RegFileSinkTest, AnEmptyWalkWritesTheHeaderAlone) {
    EXPECT_EQ(Written(), L"");
}

TEST_F(RegFileSinkTest, KeysKeepTheirOrderUnlessTheSinkIsAskedToSort) {
    sink.emplace(regFile);
    Key(classesRoot, L"B");
    Key(classesRoot, L"A");
    EXPECT_EQ(Written(), L"\r\n[HKEY_CLASSES_ROOT\\B]\r\n\r\n[HKEY_CLASSES_ROOT\\A]\r\n");
}

TEST_F(RegFileSinkTest, OnlyAKeyWithoutValuesAndSubkeysIsWrittenForItself) {
    sink->OnKey(classesRoot, L"with a value", Outcome::created, 1, 0);
    sink->OnKey(classesRoot, L"with a subkey", Outcome::created, 0, 1);
    sink->OnKey(classesRoot, L"with neither", Outcome::created, 0, 0);
    EXPECT_EQ(Written(), L"\r\n[HKEY_CLASSES_ROOT\\with neither]\r\n");
}

TEST_F(RegFileSinkTest, EachRootHasItsName) {
    Key(localMachineRoot, L"A");
    Key(currentUserRoot, L"A");
    Key(classesRoot, L"A");
    Key(usersRoot, L"A");
    Key(noRoot, L"A");
    EXPECT_EQ(Written(),
              L"\r\n[HKEY_LOCAL_MACHINE\\A]\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\r\n[HKEY_CLASSES_ROOT\\A]\r\n"
              L"\r\n[HKEY_USERS\\A]\r\n\r\n[UNKNOWN!!A]\r\n");
}

TEST_F(RegFileSinkTest, ADeletedKeyIsAnOrdinaryHeaderWhenSorted) {
    Key(classesRoot, L"Gone", Outcome::deleted);
    EXPECT_EQ(Written(), L"\r\n[HKEY_CLASSES_ROOT\\Gone]\r\n");
}

TEST_F(UnsortedRegFileSinkTest, ADeletedKeyHasTheDeletedFormWhenNotSorted) {
    Key(classesRoot, L"Gone", Outcome::deleted);
    Key(classesRoot, L"Made", Outcome::created);
    EXPECT_EQ(Written(), L"\r\n[-HKEY_CLASSES_ROOT\\Gone]\r\n\r\n[HKEY_CLASSES_ROOT\\Made]\r\n");
}

TEST_F(UnsortedRegFileSinkTest, KeysAndValuesAreWrittenInTheOrderOfTheCalls) {
    key.SetText(L"B", L"b", L"1");
    key.SetText(L"B", L"A", L"2");
    Value(L"B", L"b");
    Value(L"B", L"A");
    Key(currentUserRoot, L"A");
    EXPECT_EQ(Written(),
              L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapSink\\B]\r\n\"b\"=\"1\"\r\n\"A\"=\"2\"\r\n"
              L"\r\n[HKEY_CURRENT_USER\\A]\r\n");
}

TEST_F(RegFileSinkTest, AKeyWithManyValuesHasOneHeader) {
    key.SetText(L"A", L"1", L"x");
    key.SetText(L"A", L"2", L"y");
    Value(L"A", L"1");
    Value(L"A", L"2");
    EXPECT_EQ(Written(),
              L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapSink\\A]\r\n\"1\"=\"x\"\r\n\"2\"=\"y\"\r\n");
}

TEST_F(RegFileSinkTest, TheLastKeyIsComparedExactlyCaseIncluded) {
    Key(classesRoot, L"Key");
    Key(classesRoot, L"Key");
    Key(classesRoot, L"KEY");
    const std::wstring text = Written();
    EXPECT_EQ(text.size(), 2 * std::wstring(L"\r\n[HKEY_CLASSES_ROOT\\Key]\r\n").size());
}

TEST_F(RegFileSinkTest, FlushingDoesNotForgetTheLastKey) {
    Key(classesRoot, L"A");
    sink->Flush();
    Key(classesRoot, L"A");
    EXPECT_EQ(Written(), L"\r\n[HKEY_CLASSES_ROOT\\A]\r\n");
}

TEST_F(RegFileSinkTest, TheLastKeyIsRememberedByItsPathBeforeSubstitution) {
    sink->AddKeyMapping({currentUserRoot, L"Tree\\", classesRoot, L""});
    Key(currentUserRoot, L"Tree\\A");
    Key(classesRoot, L"A");
    EXPECT_EQ(Written(), L"\r\n[HKEY_CLASSES_ROOT\\A]\r\n\r\n[HKEY_CLASSES_ROOT\\A]\r\n");
}

// Order.

TEST_F(RegFileSinkTest, WithinABatchKeysAndValuesAreSorted) {
    key.SetText(L"b", L"b", L"1");
    key.SetText(L"b", L"A", L"2");
    key.SetText(L"A", L"a", L"3");
    key.SetText(L"A", L"B", L"4");
    Value(L"b", L"b");
    Value(L"b", L"A");
    Value(L"A", L"a");
    Value(L"A", L"B");
    EXPECT_EQ(Written(),
              L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapSink\\A]\r\n\"B\"=\"4\"\r\n\"a\"=\"3\"\r\n"
              L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapSink\\b]\r\n\"A\"=\"2\"\r\n\"b\"=\"1\"\r\n");
}

TEST_F(RegFileSinkTest, AKeyComesDirectlyBeforeItsSubkeys) {
    for (const wchar_t* path : {L"A-B", L"A\\B", L"A B", L"A"}) {
        Key(usersRoot, path);
    }
    EXPECT_EQ(Written(), L"\r\n[HKEY_USERS\\A]\r\n\r\n[HKEY_USERS\\A\\B]\r\n\r\n[HKEY_USERS\\A "
                         L"B]\r\n\r\n[HKEY_USERS\\A-B]\r\n");
}

TEST_F(RegFileSinkTest, ABatchEndsWhereTheRootChangesAndBatchesAreNotMerged) {
    Key(usersRoot, L"C");
    Key(usersRoot, L"A");
    Key(classesRoot, L"X");
    Key(usersRoot, L"B");
    EXPECT_EQ(Written(),
              L"\r\n[HKEY_USERS\\A]\r\n\r\n[HKEY_USERS\\C]\r\n\r\n[HKEY_CLASSES_ROOT\\X]\r\n\r\n[HKEY_"
              L"USERS\\B]\r\n");
}

TEST_F(RegFileSinkTest, TheRootThatEndsABatchIsTheSubstitutedOne) {
    sink->AddKeyMapping({currentUserRoot, L"Tree\\HKLM\\", localMachineRoot, L""});
    sink->AddKeyMapping({currentUserRoot, L"Tree\\HKU\\", usersRoot, L""});
    Key(localMachineRoot, L"B");
    Key(currentUserRoot, L"Tree\\HKLM\\A");
    Key(currentUserRoot, L"Tree\\HKU\\Z");
    EXPECT_EQ(Written(),
              L"\r\n[HKEY_LOCAL_MACHINE\\A]\r\n\r\n[HKEY_LOCAL_MACHINE\\B]\r\n\r\n[HKEY_USERS\\Z]\r\n");
}

// Values.

TEST_F(RegFileSinkTest, NeitherADeletedValueNorItsKeyIsWritten) {
    key.SetText(L"A", L"V", L"still there");
    sink->OnKey(currentUserRoot, key.Path(L"A"), Outcome::created, 1, 0);
    Value(L"A", L"V", Outcome::deleted);
    EXPECT_EQ(Written(), L"");
}

TEST_F(RegFileSinkTest, AValueThatCannotBeReadBackIsTenFillers) {
    Value(L"A", L"V");
    EXPECT_EQ(Written(), L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapSink\\A]\r\n\"V\"=\"" +
                             std::wstring(10, L'\x5555') + L"\"\r\n");
}

TEST_F(RegFileSinkTest, EveryTypeIsWrittenFromItsOwnData) {
    key.SetValue(L"A", L"0", REG_NONE, "xyz");
    key.SetText(L"A", L"1", L"C:\\x");
    key.SetValue(L"A", L"2", REG_EXPAND_SZ, {"a\0b\0\0\0", 6});
    key.SetValue(L"A", L"3", REG_BINARY, "\x01\xAB");
    key.SetValue(L"A", L"4", REG_DWORD, {"\x10\0\0\0", 4});
    key.SetValue(L"A", L"7", REG_MULTI_SZ, {"a\0\0\0b\0\0\0\0\0", 10});
    key.SetValue(L"A", L"b", REG_QWORD, {"\x01\x02\x03\x04\x05\x06\x07\x08", 8});
    for (const wchar_t* name : {L"0", L"1", L"2", L"3", L"4", L"7", L"b"}) {
        Value(L"A", name);
    }
    EXPECT_EQ(Written(), L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapSink\\A]\r\n"
                         L"\"0\"=\r\n"
                         L"\"1\"=\"C:\\\\x\"\r\n"
                         L"\"2\"=hex(2):61,00,62,00,00,00\r\n"
                         L"\"3\"=hex:01,ab\r\n"
                         L"\"4\"=dword:00000010\r\n"
                         L"\"7\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n"
                         L"\"b\"=hex(b):01,02,03,04,05,06,07,08\r\n");
}

TEST_F(RegFileSinkTest, ValuesWithoutDataAreEmpty) {
    const std::pair<const wchar_t*, DWORD> values[] = {{L"1", REG_SZ},       {L"2", REG_EXPAND_SZ},
                                                       {L"3", REG_BINARY},   {L"4", REG_DWORD},
                                                       {L"7", REG_MULTI_SZ}, {L"b", REG_QWORD}};
    for (const auto& [name, type] : values) {
        key.SetValue(L"A", name, type, {});
        Value(L"A", name);
    }
    EXPECT_EQ(Written(),
              L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapSink\\A]\r\n\"1\"=\"\"\r\n\"2\"=hex(2):,00,00\r\n"
              L"\"3\"=hex:\r\n\"4\"=dword:00000000\r\n\"7\"=hex(7):,00,00\r\n\"b\"=hex(b):\r\n");
}

TEST_F(RegFileSinkTest, AValueIsReadAtItsOwnPlaceAndWrittenUnderTheSubstitutedName) {
    key.SetText(L"HKLM\\Software\\A", L"V", L"data");
    sink->AddKeyMapping({currentUserRoot, key.Path(L"HKLM\\"), localMachineRoot, L""});
    Value(L"HKLM\\Software\\A", L"V");
    EXPECT_EQ(Written(), L"\r\n[HKEY_LOCAL_MACHINE\\Software\\A]\r\n\"V\"=\"data\"\r\n");
}

TEST_F(RegFileSinkTest, ReplacementsActOnStringValuesAlone) {
    key.SetText(L"A", L"C:\\tmp", L"C:\\tmp\\x.dll");
    key.SetValue(L"A", L"e", REG_EXPAND_SZ, {"C\0\0\0", 4});
    sink->AddReplacement(L"C:\\\\tmp", L"D:\\\\own");
    sink->AddReplacement(L"C", L"E");
    Value(L"A", L"C:\\tmp");
    Value(L"A", L"e");
    EXPECT_EQ(Written(),
              L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapSink\\A]\r\n\"C:\\\\tmp\"=\"D:\\\\own\\\\x.dll\"\r\n"
              L"\"e\"=hex(2):43,00,00,00\r\n");
}

} // namespace
} // namespace keyreap
