#include "kit/show/entryview.h"
#include "tests/unit/show/showtest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::CaptureOf;

EntryView Viewed(std::wstring_view line) {
    return ViewOf(CaptureOf({L"[HKEY_CLASSES_ROOT\\x]", line}).document.sections[0].entries[0]);
}

RegEntry Bytes(std::uint32_t type, std::size_t size) {
    RegEntry entry;
    entry.form = RegForm::TypedBytes;
    entry.type = type;
    entry.data.assign(size, 'a');
    return entry;
}

TEST(ViewOfTest, ATextIsShownWithoutItsTerminator) {
    const EntryView view = Viewed(L"@=\"a b\"");
    EXPECT_EQ(view.type, L"REG_SZ");
    EXPECT_THAT(view.texts, ElementsAre(L"a b"));
    EXPECT_EQ(view.left, 0u);
    EXPECT_EQ(view.remark, L"");
}

TEST(ViewOfTest, WhatFollowsANulIsShown) {
    EXPECT_THAT(Viewed(L"@=hex(2):61,00,00,00,62,00,00,00").texts, ElementsAre(std::wstring(L"a\0b", 3)));
    EXPECT_EQ(Viewed(L"@=hex(2):61,00,00,00").type, L"REG_EXPAND_SZ");
}

TEST(ViewOfTest, AListHasATextForEachOfItsTexts) {
    EXPECT_THAT(Viewed(L"@=hex(7):61,00,00,00,62,00,00,00,00,00").texts, ElementsAre(L"a", L"b"));
    EXPECT_THAT(Viewed(L"@=hex(7):00,00").texts, IsEmpty());
    EXPECT_EQ(Viewed(L"@=hex(7):00,00").type, L"REG_MULTI_SZ");
}

TEST(ViewOfTest, ANumberIsShownInBothSystems) {
    EXPECT_THAT(Viewed(L"@=dword:8000001f").texts, ElementsAre(L"0x8000001f (2147483679)"));
    EXPECT_THAT(Viewed(L"@=hex(b):01,00,00,00,00,00,00,80").texts,
                ElementsAre(L"0x8000000000000001 (9223372036854775809)"));
    EXPECT_EQ(Viewed(L"@=hex(b):01,00,00,00,00,00,00,80").type, L"REG_QWORD");
}

TEST(ViewOfTest, AllOtherDataAreBytes) {
    EXPECT_THAT(Viewed(L"@=hex:0a,ff").texts, ElementsAre(L"0a ff"));
    EXPECT_THAT(Viewed(L"@=hex(4):01,02").texts, ElementsAre(L"01 02"));
    EXPECT_EQ(Viewed(L"@=hex(0):").type, L"REG_NONE");
    EXPECT_EQ(Viewed(L"@=hex(4d2):00").type, L"type 1234");
}

TEST(ViewOfTest, OfLongDataTheBeginningIsShown) {
    const EntryView text = ViewOf(Bytes(1, 16386));
    EXPECT_EQ(text.texts[0].size(), 8192u);
    EXPECT_EQ(text.left, 2u);
    EXPECT_EQ(ViewOf(Bytes(1, 16384)).left, 0u);
    const EntryView bytes = ViewOf(Bytes(3, 2049));
    EXPECT_EQ(bytes.texts[0].size(), 2048u * 3 - 1);
    EXPECT_EQ(bytes.left, 1u);
}

TEST(ViewOfTest, WhatIsNoOrdinaryEntryHasARemark) {
    EXPECT_EQ(Viewed(L"\"n\"=-").remark, L"deletes the value");
    EXPECT_EQ(Viewed(L"\"n\"=-").type, L"");
    EXPECT_EQ(Viewed(L"@=hex(2):,00,00").remark, L"damaged: expected no comma after the colon");
    EXPECT_EQ(Viewed(L"@=\"" + std::wstring(10, L'\u5555') + L'"').remark,
              L"the data could not be read back");
    RegEntry other;
    other.kind = RegEntryKind::OtherText;
    other.otherText = L"text";
    EXPECT_EQ(ViewOf(other).remark, L"the text of another value");
    EXPECT_EQ(ViewOf(other).type, L"REG_QWORD");
    EXPECT_THAT(ViewOf(other).texts, ElementsAre(L"text"));
}

} // namespace
} // namespace keyreap
