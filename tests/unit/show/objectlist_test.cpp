#include "kit/show/objectlist.h"
#include "tests/unit/show/showtest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::SizeIs;
using testsupport::CaptureOf;

constexpr std::wstring_view classKey = L"[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}]";
constexpr std::wstring_view serverKey =
    L"[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}\\InprocServer32]";
constexpr std::wstring_view otherClass =
    L"[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000002}]";

std::vector<std::wstring> NamesOf(const std::vector<ComparedObject>& objects) {
    std::vector<std::wstring> names;
    for (const ComparedObject& object : objects) {
        names.push_back(object.name);
    }
    return names;
}

TEST(ObjectsOfTest, AnObjectHasTheTextsOfEachCaptureThatHasIt) {
    const std::vector<PageCapture> captures = {CaptureOf({classKey, L"@=\"one\"", serverKey, L"@=\"a.dll\""}),
                                               CaptureOf({classKey, serverKey, L"@=\"b.dll\"", otherClass})};
    const CaptureTree tree(captures);
    const std::vector<ComparedObject> objects = ObjectsOf(captures, tree);
    ASSERT_THAT(NamesOf(objects), ElementsAre(L"one", L""));
    EXPECT_THAT(objects[0].keys, ElementsAre(2u, 3u));
    ASSERT_TRUE(objects[0].texts[0] && objects[0].texts[1]);
    EXPECT_EQ(objects[0].texts[0]->front().text, L"a.dll");
    EXPECT_EQ(objects[0].texts[1]->front().text, L"b.dll");
    EXPECT_FALSE(objects[1].texts[0]);
    EXPECT_TRUE(objects[1].texts[1]);
}

TEST(ObjectsOfTest, ObjectsAreSortedByKindAndNameWithNamelessOnesLast) {
    const std::vector<PageCapture> captures = {
        CaptureOf({L"[HKEY_CLASSES_ROOT\\Interface\\{00000000-0000-0000-0000-000000000003}]", L"@=\"A\"",
                   classKey, otherClass, L"@=\"z\"",
                   L"[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000004}]", L"@=\"B\""})};
    const CaptureTree tree(captures);
    EXPECT_THAT(NamesOf(ObjectsOf(captures, tree)), ElementsAre(L"B", L"z", L"", L"A"));
}

TEST(ObjectsOfTest, AnObjectOfValuesHasTheKeyOfTheList) {
    const std::vector<PageCapture> captures = {CaptureOf(
        {L"[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved]",
         L"\"{00000000-0000-0000-0000-000000000001}\"=\"x\""})};
    const CaptureTree tree(captures);
    const std::vector<ComparedObject> objects = ObjectsOf(captures, tree);
    ASSERT_THAT(objects, SizeIs(1));
    EXPECT_THAT(objects[0].keys, ElementsAre(tree.KeyOf(0, 0)));
}

TEST(ObjectTargetsTest, FindsTheObjectInTheSamePartOfTheRegistryFirst) {
    const std::vector<PageCapture> captures = {CaptureOf(
        {L"[HKEY_CLASSES_ROOT\\P]", L"[HKEY_CLASSES_ROOT\\P\\CLSID]",
         L"@=\"{00000000-0000-0000-0000-00000000000a}\"", L"[HKEY_CURRENT_USER\\Software\\Classes\\P]",
         L"[HKEY_CURRENT_USER\\Software\\Classes\\P\\CLSID]", L"@=\"{00000000-0000-0000-0000-00000000000A}\"",
         L"[HKEY_CURRENT_USER\\Software\\Classes\\CLSID\\{00000000-0000-0000-0000-00000000000A}]",
         L"@=\"user's\""})};
    const CaptureTree tree(captures);
    std::vector<ComparedObject> objects = ObjectsOf(captures, tree);
    ASSERT_THAT(objects, SizeIs(3));
    const ObjectText text = objects[1].texts[0]->front();
    EXPECT_EQ(ObjectTargets(objects).IndexOf(objects[1], text), 0u);
    objects.push_back(objects[0]);
    objects.back().identity.scope = objects[1].identity.scope;
    objects[2].identity.scope = objects[0].identity.scope;
    EXPECT_EQ(ObjectTargets(objects).IndexOf(objects[1], text), 3u);
    EXPECT_EQ(ObjectTargets(objects).IndexOf(objects[2], text), 0u);
    EXPECT_EQ(ObjectTargets(objects).IndexOf(objects[1], {L"Class", L"{none}", ObjectKind::Class}),
              CaptureTree::none);
    EXPECT_EQ(ObjectTargets(objects).IndexOf(objects[1], {L"Class", objects[0].id, std::nullopt}),
              CaptureTree::none);
}

} // namespace
} // namespace keyreap
