#include "hostlogger/keylookup.h"
#include "tests/unit/hostlogger/registrymodel.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const std::wstring MACHINE = L"\\REGISTRY\\Machine";
const std::wstring SOFTWARE = MACHINE + L"\\Software";
const std::wstring CLASSES = SOFTWARE + L"\\Classes";
const std::wstring NODE = SOFTWARE + L"\\Wow6432Node";
const std::wstring SHARED = CLASSES + L"\\Wow6432Node";

constexpr KeyView PLAIN{};
constexpr KeyView REDIRECTED{true, false};
constexpr KeyView ASKS_32{true, true};
constexpr KeyView OPENS_LINK{false, false, true};

class FindRealPathTest : public testing::Test {
protected:
    std::wstring Find(const std::wstring& parent, std::wstring_view name, KeyView view) {
        return FindRealPath(parent, name, view, registry);
    }
    std::wstring Find(std::wstring_view name, KeyView view) { return Find(std::wstring(), name, view); }

    RegistryModel registry = MachineWithNodes();
};

TEST_F(FindRealPathTest, ANameIsRelativeToItsParent) {
    EXPECT_EQ(Find(SOFTWARE, L"A\\B", PLAIN), SOFTWARE + L"\\A\\B");
}

TEST_F(FindRealPathTest, ANameWithoutParentIsComplete) {
    EXPECT_EQ(Find(L"\\REGISTRY\\Machine\\Software\\A", PLAIN), SOFTWARE + L"\\A");
}

TEST_F(FindRealPathTest, AnEmptyNameIsTheParent) {
    EXPECT_EQ(Find(SOFTWARE + L"\\A", L"", PLAIN), SOFTWARE + L"\\A");
}

TEST_F(FindRealPathTest, BackslashesMoreThanNeededPartTheSameComponents) {
    EXPECT_EQ(Find(SOFTWARE, L"A\\\\\\B\\", PLAIN), SOFTWARE + L"\\A\\B");
}

TEST_F(FindRealPathTest, A64BitViewIsNeverRedirected) {
    EXPECT_EQ(Find(SOFTWARE + L"\\A", PLAIN), SOFTWARE + L"\\A");
    EXPECT_EQ(Find(SOFTWARE, PLAIN), SOFTWARE);
    EXPECT_EQ(Find(CLASSES + L"\\CLSID\\{1}", PLAIN), CLASSES + L"\\CLSID\\{1}");
}

TEST_F(FindRealPathTest, ARedirectedNameGoesOnBelowTheNode) {
    EXPECT_EQ(Find(SOFTWARE + L"\\A\\B", REDIRECTED), NODE + L"\\A\\B");
}

TEST_F(FindRealPathTest, ARedirectedNameThatEndsAtAKeyWithANodeEndsAtTheNode) {
    EXPECT_EQ(Find(SOFTWARE, REDIRECTED), NODE);
}

TEST_F(FindRealPathTest, ANameThatSaysTheNodeIsNotRedirectedAgain) {
    EXPECT_EQ(Find(NODE + L"\\A", REDIRECTED), NODE + L"\\A");
    EXPECT_EQ(Find(SOFTWARE + L"\\wow6432node\\A", REDIRECTED), SOFTWARE + L"\\wow6432node\\A");
}

TEST_F(FindRealPathTest, OutsideOfNodesNothingIsRedirected) {
    EXPECT_EQ(Find(MACHINE + L"\\System\\A", REDIRECTED), MACHINE + L"\\System\\A");
}

TEST_F(FindRealPathTest, BelowAHandleOfThe64BitTreeARedirectedNameStays) {
    registry.Add(NODE + L"\\A");
    EXPECT_EQ(Find(SOFTWARE + L"\\A", L"B", REDIRECTED), SOFTWARE + L"\\A\\B");
}

TEST_F(FindRealPathTest, WhoAsksForThe32BitViewGoesToItFromAHandleOfTheOther) {
    registry.Add(NODE + L"\\A");
    EXPECT_EQ(Find(SOFTWARE + L"\\A", L"B", ASKS_32), NODE + L"\\A\\B");
    EXPECT_EQ(Find(SOFTWARE, L"B", ASKS_32), NODE + L"\\B");
}

TEST_F(FindRealPathTest, WhatTheNodeHasNotGotIsNotAskedForThere) {
    EXPECT_EQ(Find(SOFTWARE + L"\\A", L"B", ASKS_32), SOFTWARE + L"\\A\\B");
}

TEST_F(FindRealPathTest, AHandleOfTheNodeIsWhereItIs) {
    EXPECT_EQ(Find(NODE + L"\\A", L"B", ASKS_32), NODE + L"\\A\\B");
    EXPECT_EQ(Find(NODE, L"B", ASKS_32), NODE + L"\\B");
}

TEST_F(FindRealPathTest, ANodeBelowANodeIsNone) {
    registry.Add(NODE + L"\\Wow6432Node");
    EXPECT_EQ(Find(NODE, L"", REDIRECTED), NODE);
    EXPECT_EQ(Find(SOFTWARE + L"\\A", REDIRECTED), NODE + L"\\A");
}

TEST_F(FindRealPathTest, TheClassesAreReachedThroughTheLinkInTheNode) {
    EXPECT_EQ(Find(SOFTWARE + L"\\Classes\\CLSID\\{1}", REDIRECTED), SHARED + L"\\CLSID\\{1}");
}

TEST_F(FindRealPathTest, WhatTheSharedNodeHasNotGotIsBesideIt) {
    EXPECT_EQ(Find(SOFTWARE + L"\\Classes\\A.File", REDIRECTED), CLASSES + L"\\A.File");
    EXPECT_EQ(Find(SHARED, L"A.File\\shell", REDIRECTED), CLASSES + L"\\A.File\\shell");
}

TEST_F(FindRealPathTest, TheClassesThemselvesAreTheSameForBothViews) {
    EXPECT_EQ(Find(SOFTWARE + L"\\Classes", REDIRECTED), CLASSES);
}

TEST_F(FindRealPathTest, AnEmptyNameBelowTheClassesIsTheSharedNode) {
    EXPECT_EQ(Find(CLASSES, L"", REDIRECTED), SHARED);
}

TEST_F(FindRealPathTest, BelowAHandleOfTheClassesASharedNameIsInTheNode) {
    EXPECT_EQ(Find(CLASSES, L"CLSID\\{1}", REDIRECTED), SHARED + L"\\CLSID\\{1}");
    EXPECT_EQ(Find(CLASSES, L"A.File", REDIRECTED), CLASSES + L"\\A.File");
}

TEST_F(FindRealPathTest, LinksLeadToTheirTarget) {
    registry.AddLink(SOFTWARE + L"\\Link", MACHINE + L"\\System");
    EXPECT_EQ(Find(SOFTWARE + L"\\Link\\A", PLAIN), MACHINE + L"\\System\\A");
    EXPECT_EQ(Find(SOFTWARE + L"\\Link", PLAIN), MACHINE + L"\\System");
    EXPECT_EQ(Find(SOFTWARE + L"\\Link", L"A", PLAIN), MACHINE + L"\\System\\A");
}

TEST_F(FindRealPathTest, ALinkMayLeadThroughAnother) {
    registry.AddLink(SOFTWARE + L"\\First", SOFTWARE + L"\\Second\\A");
    registry.AddLink(SOFTWARE + L"\\Second", MACHINE + L"\\System");
    EXPECT_EQ(Find(SOFTWARE + L"\\First\\B", PLAIN), MACHINE + L"\\System\\A\\B");
}

TEST_F(FindRealPathTest, ALinksTargetIsOfNoView) {
    registry.AddLink(MACHINE + L"\\Link", SOFTWARE + L"\\A");
    EXPECT_EQ(Find(MACHINE + L"\\Link\\B", REDIRECTED), SOFTWARE + L"\\A\\B");
}

TEST_F(FindRealPathTest, WhoOpensLinksEndsWithThem) {
    registry.AddLink(SOFTWARE + L"\\First", SOFTWARE + L"\\Second");
    registry.AddLink(SOFTWARE + L"\\Second\\Third", MACHINE);
    EXPECT_EQ(Find(SOFTWARE + L"\\First", OPENS_LINK), SOFTWARE + L"\\First");
    EXPECT_EQ(Find(SOFTWARE + L"\\First\\Third", OPENS_LINK), SOFTWARE + L"\\Second\\Third");
}

TEST_F(FindRealPathTest, ByNoNameALinkIsFoundItself) {
    registry.AddLink(NODE + L"\\Policies", SOFTWARE + L"\\Policies");
    EXPECT_EQ(Find(NODE + L"\\Policies", L"", PLAIN), NODE + L"\\Policies");
    EXPECT_EQ(Find(SOFTWARE + L"\\Policies", L"", ASKS_32), NODE + L"\\Policies");
}

TEST_F(FindRealPathTest, LinksInACircleEndSomewhere) {
    registry.AddLink(SOFTWARE + L"\\A", SOFTWARE + L"\\B\\B");
    registry.AddLink(SOFTWARE + L"\\B", SOFTWARE + L"\\A\\A");
    EXPECT_FALSE(Find(SOFTWARE + L"\\A\\A", PLAIN).empty());
}

TEST_F(FindRealPathTest, ARegistryWithoutNodesHasOneView) {
    registry = RegistryModel();
    registry.Add(SOFTWARE);
    EXPECT_EQ(Find(SOFTWARE + L"\\A", ASKS_32), SOFTWARE + L"\\A");
    EXPECT_EQ(Find(SOFTWARE, L"A", ASKS_32), SOFTWARE + L"\\A");
}

TEST_F(FindRealPathTest, AnythingHasAnAnswer) {
    for (const wchar_t* parent : {L"", L"\\", L"A", L"A\\B", L"\\\\", L"Wow6432Node"}) {
        for (const wchar_t* name :
             {L"", L"\\", L"\\\\", L"A", L"\\A\\", L"Wow6432Node", L"\\Wow6432Node\\"}) {
            for (const KeyView view : {PLAIN, REDIRECTED, ASKS_32, OPENS_LINK}) {
                EXPECT_GE(Find(parent, name, view).size(), std::wstring_view(parent).size());
            }
        }
    }
}

} // namespace
} // namespace keyreap
