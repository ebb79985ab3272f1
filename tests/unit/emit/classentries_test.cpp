#include "kit/emit/classentries.h"
#include "tests/unit/emit/emittest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::SizeIs;
using testsupport::Emitted;
using testsupport::EmittedOf;
using testsupport::SettingsOf;

const PieceText text = {{PieceKind::Literal, L"t"}};

TEST(ClassEntriesTest, FindsTextsBelowTheClassesWithoutCase) {
    Emitted emitted = EmittedOf({L"[HKEY_CLASSES_ROOT\\Road\\Sub]", L"@=\"t\"", L"\"Name\"=\"t\"",
                                 L"\"number\"=dword:00000001", L"\"expand\"=hex(2):74,00,00,00",
                                 L"[HKEY_LOCAL_MACHINE\\Software\\Other]", L"@=\"t\""});
    const ClassEntries entries(emitted.data.components.at(0), emitted.data);
    EXPECT_THAT(entries.Keys(), ElementsAre(ElementsAre(L"Road", L"Sub")));
    ASSERT_NE(entries.TextAt({L"road\\sub", L""}), nullptr);
    EXPECT_EQ(*entries.TextAt({L"road\\sub", L"name"}), text);
    EXPECT_EQ(entries.TextAt({L"road\\sub", L"number"}), nullptr);
    EXPECT_EQ(entries.TextAt({L"road\\sub", L"expand"}), nullptr);
    EXPECT_EQ(entries.TextAt({L"road", L""}), nullptr);
}

TEST(ClassEntriesTest, TheClassesAreThoseOfTheScope) {
    InstallSettings settings = SettingsOf();
    settings.scope = InstallScope::User;
    Emitted emitted = EmittedOf(settings, {L"[HKEY_CLASSES_ROOT\\Road]", L"@=\"t\""});
    const ClassEntries ofUser(emitted.data.components.at(0), emitted.data);
    EXPECT_NE(ofUser.TextAt({L"road", L""}), nullptr);
    emitted.data.scope = InstallScope::Machine;
    EXPECT_THAT(ClassEntries(emitted.data.components.at(0), emitted.data).Keys(), SizeIs(0));
}

TEST(ClassEntriesTest, WhatIsTakenIsGoneAndTheRestStays) {
    Emitted emitted = EmittedOf({L"[HKEY_CLASSES_ROOT\\a]", L"\"1\"=\"t\"", L"\"2\"=\"t\"", L"\"3\"=\"t\"",
                                 L"[HKEY_CLASSES_ROOT\\b]", L"\"1\"=\"t\"", L"[HKEY_CLASSES_ROOT\\b\\c]",
                                 L"[HKEY_CLASSES_ROOT\\b\\d]"});
    InstallComponent& component = emitted.data.components.at(0);
    ClassEntries entries(component, emitted.data);
    entries.Take({L"a", L"1"});
    entries.Take({L"a", L"3"});
    entries.Take({L"b", L"1"});
    entries.Take({L"b", L"none"});
    EXPECT_EQ(entries.TextAt({L"a", L"1"}), nullptr);
    EXPECT_TRUE(entries.IsEmptyKey(L"b\\d"));
    EXPECT_FALSE(entries.IsEmptyKey(L"b"));
    entries.TakeKey(L"b\\d");
    EXPECT_FALSE(entries.IsEmptyKey(L"b\\d"));
    entries.Finish();
    ASSERT_THAT(component.keys, SizeIs(2));
    EXPECT_EQ(component.keys[0].path, L"Software\\Classes\\a");
    ASSERT_THAT(component.keys[0].values, SizeIs(1));
    EXPECT_EQ(component.keys[0].values[0].place.value, L"2");
    EXPECT_EQ(component.keys[1].path, L"Software\\Classes\\b\\c");
}

} // namespace
} // namespace keyreap
