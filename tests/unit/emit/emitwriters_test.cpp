#include "kit/emit/emitwriters.h"
#include "tests/unit/emit/emittest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What one kind alone can't carry, and how each escapes. tests/keykit compares whole files.
namespace keyreap {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testsupport::Emitted;
using testsupport::EmittedOf;

constexpr std::wstring_view key = L"[HKEY_CLASSES_ROOT\\x{y}]";
constexpr std::wstring_view path = L"@=\"Z:\\\\build\\\\bin\\\\a.dll\"";

TEST(WriteNsisTest, EscapesItsOwnSigns) {
    Emitted emitted = EmittedOf({key, path, L"\"$n\"=\"a\\\"$b\""});
    const std::string script = WriteNsis(emitted.data, emitted.notes);
    EXPECT_THAT(script, HasSubstr("WriteRegStr HKLM64 \"Software\\Classes\\x{y}\" \"$$n\" \"a$\\\"$$b\"\n"));
    EXPECT_THAT(script, HasSubstr("\"\" \"DIR\\a.dll\"\n"));
    EXPECT_THAT(emitted.notes, IsEmpty());
}

TEST(WriteNsisTest, LongTextsOtherTypesAndListsWithPathsAreNamed) {
    const std::wstring fits = L"\"fits\"=\"" + std::wstring(1023, L'x') + L'"';
    const std::wstring tooLong = L"\"long\"=\"" + std::wstring(1024, L'x') + L'"';
    Emitted emitted =
        EmittedOf({key, path, fits, tooLong, L"\"q\"=hex(b):01,02,03,04,05,06,07,08",
                   L"\"list\"=hex(7):5a,00,3a,00,5c,00,62,00,75,00,69,00,6c,00,64,00,5c,00,62,00,"
                   L"69,00,6e,00,00,00,00,00"});
    const std::string script = WriteNsis(emitted.data, emitted.notes);
    EXPECT_THAT(script, HasSubstr("\"fits\""));
    ASSERT_THAT(emitted.notes, SizeIs(3));
    EXPECT_EQ(emitted.notes[0].place.value, L"long");
    EXPECT_EQ(emitted.notes[1].place.value, L"q");
    EXPECT_EQ(emitted.notes[2].place.value, L"list");
    EXPECT_THAT(script, Not(HasSubstr("\"q\"")));
}

TEST(WriteNsisTest, WhatOthersNeedIsNotRemoved) {
    Emitted emitted =
        EmittedOf({key, path, L"[HKEY_CLASSES_ROOT\\Interface\\{00020400-0000-0000-C000-000000000046}]",
                   L"@=\"IDispatch\""});
    const std::string script = WriteNsis(emitted.data, emitted.notes);
    EXPECT_THAT(script, HasSubstr("  WriteRegStr HKLM64 \"Software\\Classes\\Interface\\{00020400"));
    EXPECT_THAT(script, Not(HasSubstr("DeleteRegValue HKLM64 \"Software\\Classes\\Interface\\{00020400")));
    EXPECT_THAT(script, Not(HasSubstr("DeleteRegKey /ifempty HKLM64 \"Software\\Classes\\Interface")));
}

TEST(WriteInnoTest, DoublesOpeningBracesAndQuotesEverywhere) {
    Emitted emitted = EmittedOf({key, path, L"\"{n}\"=\"a\\\"{b}\""});
    const std::string script = WriteInno(emitted.data, emitted.notes);
    EXPECT_THAT(script, HasSubstr("Root: HKLM64; Subkey: \"Software\\Classes\\x{{y}\"; ValueType: string; "
                                  "ValueName: \"{{n}\"; ValueData: \"a\"\"{{b}\"; Flags: uninsdeletevalue; "
                                  "Check: IsWin64\n"));
    EXPECT_THAT(script,
                HasSubstr("Subkey: \"Software\\Classes\\x{{y}\"; Flags: uninsdeletekeyifempty; Check"));
}

TEST(WriteInnoTest, NumbersHaveTheirForms) {
    Emitted emitted = EmittedOf({key, path, L"\"d\"=dword:ffffffff", L"\"q\"=hex(b):01,02,03,04,05,06,07,88",
                                 L"\"b\"=hex:00,ff", L"\"m\"=hex(7):61,00,00,00,62,00,00,00,00,00"});
    emitted.data.bitness = 32;
    const std::string script = WriteInno(emitted.data, emitted.notes);
    EXPECT_THAT(script, HasSubstr("ValueType: dword; ValueName: \"d\"; ValueData: \"4294967295\""));
    EXPECT_THAT(script, HasSubstr("ValueType: qword; ValueName: \"q\"; ValueData: \"$8807060504030201\""));
    EXPECT_THAT(script, HasSubstr("ValueType: binary; ValueName: \"b\"; ValueData: \"00 ff\""));
    EXPECT_THAT(script, HasSubstr("ValueType: multisz; ValueName: \"m\"; ValueData: \"a{break}b\""));
    EXPECT_THAT(script, Not(HasSubstr("IsWin64"))) << "a 32-bit view is in every system";
    EXPECT_THAT(script, HasSubstr("HKLM32"));
}

TEST(WriteInnoTest, TextsThatALineCannotHaveAreNamed) {
    Emitted emitted = EmittedOf({key, path, L"\"a\"=\"x{#y}\"", L"\"b\"=\"x\r\ny\"", L"\"c\"=hex(0):"});
    const std::string script = WriteInno(emitted.data, emitted.notes);
    EXPECT_THAT(emitted.notes, SizeIs(3));
    EXPECT_THAT(script, Not(HasSubstr("{#")));
}

TEST(WriteWixTest, ADollarSignIsDoubled) {
    Emitted emitted = EmittedOf({key, path, L"\"n\"=\"$(var.x)\""});
    EXPECT_THAT(WriteWix(emitted.data, WixVersion::Four, WixForm::Values, emitted.notes),
                HasSubstr("Value=\"$$(var.x)\""));
}

TEST(WriteWixTest, AComponentWithoutValuesHasItsFolderAsKeyPath) {
    Emitted emitted = EmittedOf({L"[HKEY_CLASSES_ROOT\\x]"});
    const std::string document = WriteWix(emitted.data, WixVersion::Four, WixForm::Values, emitted.notes);
    EXPECT_THAT(document, HasSubstr("Bitness=\"always64\" KeyPath=\"yes\">"));
}

TEST(WriteRegTest, ATextWithALineBreakHasAFormThatAnImportBringsBack) {
    Emitted emitted = EmittedOf({key, path, L"\"n\"=\"a\r\nb\"", L"\"e\"=hex(2):,00,00"});
    const std::string bytes = WriteReg(emitted.data, emitted.notes);
    EXPECT_THAT(emitted.notes, IsEmpty());
    const auto read = ReadRegDocument({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    const auto& entries = std::get<RegDocument>(read).sections.at(0).entries;
    EXPECT_EQ(entries.at(1).form, RegForm::TypedBytes);
    EXPECT_EQ(EntryText(entries.at(1)), L"a\r\nb");
    EXPECT_EQ(entries.at(2).kind, RegEntryKind::Value) << "the damage is gone";
    EXPECT_EQ(EntryText(entries.at(0)), L"DIR\\a.dll");
}

} // namespace
} // namespace keyreap
