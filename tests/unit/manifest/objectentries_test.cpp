#include "kit/manifest/objectentries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

ObjectEntries::Entry TextEntry(std::vector<std::wstring> key, const std::wstring& text,
                               std::size_t line = 1) {
    InstallValue value;
    value.type = 1;
    value.text = {{PieceKind::Literal, text, 0}};
    value.data.assign(text.begin(), text.end());
    return {std::move(key), {}, value, {L"a.reg", line, L"key", false, {}}};
}

std::wstring Reason(const ObjectEntries::Entry&) {
    return L"left";
}

ObjectEntries::Entry BytesEntry(std::vector<std::wstring> key, std::uint32_t type) {
    ObjectEntries::Entry entry = TextEntry(std::move(key), L"");
    entry.value->type = type;
    entry.value->text.clear();
    return entry;
}

class ObjectEntriesTest : public testing::Test {
protected:
    std::vector<EmitNote> notes;
    ObjectEntries object{ObjectKind::Class, L"{x}"};
};

TEST_F(ObjectEntriesTest, WhatIsTakenIsNotNamed) {
    object.Add(TextEntry({L"A", L"b"}, L"one"), notes);
    object.Add(TextEntry({}, L"two"), notes);
    EXPECT_EQ(object.TakeText(L"a\\B"), L"one");
    object.NoteRest(notes, Reason);
    ASSERT_THAT(notes, SizeIs(1));
    EXPECT_EQ(notes[0].reason, L"left");
    EXPECT_EQ(object.Text(L""), L"two");
}

TEST_F(ObjectEntriesTest, AnEmptyTextStays) {
    object.Add(TextEntry({}, L""), notes);
    EXPECT_EQ(object.TakeText(L""), L"");
    object.NoteRest(notes, Reason);
    EXPECT_THAT(notes, SizeIs(1));
}

TEST_F(ObjectEntriesTest, APathIsNoText) {
    ObjectEntries::Entry entry = TextEntry({}, L"");
    entry.value->text = {{PieceKind::File, {}, 0}};
    object.Add(entry, notes);
    EXPECT_EQ(object.TakeText(L""), L"");
    EXPECT_NE(object.Find(L""), nullptr);
}

TEST_F(ObjectEntriesTest, TheFirstDataOfAValueCount) {
    object.Add(TextEntry({L"A"}, L"one", 3), notes);
    object.Add(TextEntry({L"a"}, L"one", 4), notes);
    EXPECT_THAT(notes, IsEmpty());
    object.Add(TextEntry({L"a"}, L"two", 5), notes);
    ASSERT_THAT(notes, SizeIs(1));
    EXPECT_EQ(notes[0].reason, L"has other data in line 3 of a.reg");
    EXPECT_EQ(object.Text(L"A"), L"one");
}

TEST_F(ObjectEntriesTest, OnlyStringsWithoutAServersPathAreTexts) {
    object.Add(TextEntry({L"a"}, L"x"), notes);
    object.Add(BytesEntry({L"expanded"}, 2), notes);
    object.Add(BytesEntry({L"binary"}, 3), notes);
    object.Add(BytesEntry({L"number"}, 4), notes);
    ObjectEntries::Entry path = TextEntry({L"path"}, L"");
    path.value->text = {{PieceKind::File, {}, 0}};
    object.Add(path, notes);
    EXPECT_TRUE(object.IsText(L"a"));
    EXPECT_TRUE(object.IsText(L"expanded"));
    EXPECT_TRUE(object.IsText(L"missing"));
    EXPECT_FALSE(object.IsText(L"binary"));
    EXPECT_FALSE(object.IsText(L"number"));
    EXPECT_FALSE(object.IsText(L"path"));
}

} // namespace
} // namespace keyreap
