#include "kit/show/capturetree.h"
#include "tests/unit/show/showtest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testsupport::CaptureOf;
using enum KeyState;

constexpr std::size_t none = CaptureTree::none;

std::vector<std::wstring> NamesOf(const CaptureTree& tree) {
    std::vector<std::wstring> names;
    for (const ComparedKey& key : tree.Keys()) {
        names.push_back(key.name);
    }
    return names;
}

const ComparedKey& KeyAt(const CaptureTree& tree, std::wstring_view path) {
    return tree.Keys().at(tree.Find(path));
}

TEST(CaptureTreeTest, KeysAreSortedAndComeAfterTheirParents) {
    const std::vector<PageCapture> captures = {
        CaptureOf({L"[HKEY_LOCAL_MACHINE\\b]", L"[HKEY_CLASSES_ROOT\\c\\d]", L"[HKEY_CLASSES_ROOT\\B]",
                   L"[HKEY_CLASSES_ROOT\\a]"})};
    const CaptureTree tree(captures);
    EXPECT_THAT(NamesOf(tree),
                ElementsAre(L"HKEY_CLASSES_ROOT", L"a", L"B", L"c", L"d", L"HKEY_LOCAL_MACHINE", L"b"));
    EXPECT_EQ(tree.Keys()[0].parent, none);
    EXPECT_EQ(tree.Keys()[4].parent, 3u);
    EXPECT_EQ(tree.KeyOf(0, 0), 6u);
    EXPECT_EQ(tree.Find(L"hkey_classes_root\\C\\D"), 4u);
    EXPECT_EQ(tree.Find(L"HKEY_CLASSES_ROOT\\none"), none);
    EXPECT_EQ(tree.Find(L""), none);
}

TEST(CaptureTreeTest, NamesOfCapturesAreComparedWithLettersFolded) {
    const std::vector<PageCapture> captures = {
        CaptureOf({L"[HKEY_CLASSES_ROOT\\Key]", L"\"Name\"=\"x\"", L"\"only\"=\"a\""}),
        CaptureOf({L"[HKEY_CLASSES_ROOT\\KEY]", L"\"NAME\"=\"y\"", L"[HKEY_CLASSES_ROOT\\new]"})};
    const CaptureTree tree(captures);
    EXPECT_THAT(NamesOf(tree), ElementsAre(L"HKEY_CLASSES_ROOT", L"Key", L"new"));
    EXPECT_THAT(tree.Keys()[1].states, ElementsAre(Present, Present));
    EXPECT_THAT(tree.Keys()[2].states, ElementsAre(Absent, Present));
    ASSERT_THAT(tree.Keys()[1].values, SizeIs(2));
    EXPECT_EQ(tree.Keys()[1].values[0].name, L"Name");
    EXPECT_THAT(tree.Keys()[1].values[0].data, ElementsAre(0u, 2u));
    EXPECT_THAT(tree.Keys()[1].values[1].data, ElementsAre(1u, none));
}

TEST(CaptureTreeTest, EntriesThatAnImportCannotDistinguishAreOne) {
    const std::vector<PageCapture> captures = {CaptureOf(
        {L"[HKEY_CLASSES_ROOT\\x]", L"\"a\"=\"t\"", L"\"b\"=hex(1):74,00,00,00", L"\"c\"=hex(2):74,00,00,00",
         L"\"d\"=dword:00000001", L"\"e\"=hex(4):01,00,00,00", L"\"f\"=hex:01,00,00,00"})};
    const CaptureTree tree(captures);
    std::vector<std::size_t> data;
    for (const ComparedValue& value : KeyAt(tree, L"HKEY_CLASSES_ROOT\\x").values) {
        data.push_back(value.data[0]);
    }
    EXPECT_THAT(data, ElementsAre(0u, 0u, 1u, 2u, 2u, 3u));
    EXPECT_THAT(tree.Data(), SizeIs(4));
}

TEST(CaptureTreeTest, TheLastSettingOfAValueCounts) {
    const std::vector<PageCapture> captures = {
        CaptureOf({L"[HKEY_CLASSES_ROOT\\x]", L"@=\"a\"", L"\"d\"=\"a\"", L"[HKEY_CLASSES_ROOT\\x]",
                   L"@=\"b\"", L"\"d\"=-"})};
    const CaptureTree tree(captures);
    const std::vector<ComparedValue>& values = KeyAt(tree, L"HKEY_CLASSES_ROOT\\x").values;
    EXPECT_EQ(EntryText(*tree.Data()[values[0].data[0]]), L"b");
    EXPECT_EQ(tree.Data()[values[1].data[0]]->kind, RegEntryKind::Deletion);
}

TEST(CaptureTreeTest, ADeletionTakesWhatIsBelowTheKey) {
    const std::vector<PageCapture> captures = {
        CaptureOf({L"[HKEY_CLASSES_ROOT\\x\\y]", L"@=\"a\"", L"[HKEY_CLASSES_ROOT\\x]", L"@=\"a\"",
                   L"[-HKEY_CLASSES_ROOT\\x]"})};
    const CaptureTree tree(captures);
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT").states, ElementsAre(Present));
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\x").states, ElementsAre(Deleted));
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\x").values[0].data, ElementsAre(none));
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\x\\y").states, ElementsAre(Absent));
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\x\\y").values[0].data, ElementsAre(none));
}

TEST(CaptureTreeTest, ADeletionIsShownBelowTheKeysOfItsPath) {
    const std::vector<PageCapture> captures = {CaptureOf({L"[-HKEY_CLASSES_ROOT\\x\\y]"})};
    const CaptureTree tree(captures);
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\x").states, ElementsAre(Present));
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\x\\y").states, ElementsAre(Deleted));
}

TEST(CaptureTreeTest, AKeyMayBeMadeAgainAfterItsDeletion) {
    const std::vector<PageCapture> captures = {
        CaptureOf({L"[-HKEY_CLASSES_ROOT\\x]", L"[HKEY_CLASSES_ROOT\\x]", L"[-HKEY_CLASSES_ROOT\\z]",
                   L"[HKEY_CLASSES_ROOT\\z\\below]"})};
    const CaptureTree tree(captures);
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\x").states, ElementsAre(Replaced));
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\z").states, ElementsAre(Replaced));
    EXPECT_THAT(KeyAt(tree, L"HKEY_CLASSES_ROOT\\z\\below").states, ElementsAre(Present));
}

TEST(CaptureTreeTest, KeysOfTheCaptureItselfAreMarked) {
    const std::vector<PageCapture> captures = {
        CaptureOf({L"[HKEY_CLASSES_ROOT]", L"[HKEY_CURRENT_USER]", L"@=\"a\"", L"[HKEY_USERS]",
                   L"[HKEY_LOCAL_MACHINE]"})};
    const CaptureTree tree(captures);
    EXPECT_THAT(KeyAt(tree, L"HKEY_USERS").states, ElementsAre(CapturesOwn));
    EXPECT_THAT(KeyAt(tree, L"HKEY_CURRENT_USER").states, ElementsAre(Present));
}

TEST(CaptureTreeTest, ManyNamesMayBeNested) {
    std::wstring path = L"[HKEY_CLASSES_ROOT";
    for (int i = 0; i < 20000; ++i) {
        path += L"\\x";
    }
    const std::vector<PageCapture> captures = {CaptureOf({path + L']'})};
    const CaptureTree tree(captures);
    EXPECT_THAT(tree.Keys(), SizeIs(20001));
    EXPECT_EQ(tree.KeyOf(0, 0), 20000u);
}

TEST(CaptureTreeTest, AnEmptyCaptureHasNoKeys) {
    const std::vector<PageCapture> captures = {CaptureOf({})};
    EXPECT_THAT(CaptureTree(captures).Keys(), IsEmpty());
}

} // namespace
} // namespace keyreap
