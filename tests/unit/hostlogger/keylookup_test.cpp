#include "hostlogger/keylookup.h"
#include "tests/unit/hostlogger/registrymodel.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const std::wstring machineKey = L"\\REGISTRY\\Machine";
const std::wstring softwareKey = machineKey + L"\\Software";
const std::wstring classesKey = softwareKey + L"\\Classes";
const std::wstring nodeKey = softwareKey + L"\\Wow6432Node";
const std::wstring sharedNode = classesKey + L"\\Wow6432Node";

constexpr KeyView plainView{};
constexpr KeyView redirectedView{true, false};
constexpr KeyView view32{true, true};
constexpr KeyView linkView{false, false, true};

class FindRealPathTest : public testing::Test {
protected:
    std::wstring Find(const std::wstring& parent, std::wstring_view name, KeyView view) {
        return FindRealPath(parent, name, view, registry);
    }
    std::wstring Find(std::wstring_view name, KeyView view) { return Find(std::wstring(), name, view); }

    RegistryModel registry = MachineWithNodes();
};

TEST_F(FindRealPathTest, ANameIsRelativeToItsParent) {
    EXPECT_EQ(Find(softwareKey, L"A\\B", plainView), softwareKey + L"\\A\\B");
}

TEST_F(FindRealPathTest, ANameWithoutParentIsComplete) {
    EXPECT_EQ(Find(L"\\REGISTRY\\Machine\\Software\\A", plainView), softwareKey + L"\\A");
}

TEST_F(FindRealPathTest, AnEmptyNameIsTheParent) {
    EXPECT_EQ(Find(softwareKey + L"\\A", L"", plainView), softwareKey + L"\\A");
}

TEST_F(FindRealPathTest, RepeatedBackslashesCountAsOne) {
    EXPECT_EQ(Find(softwareKey, L"A\\\\\\B\\", plainView), softwareKey + L"\\A\\B");
}

TEST_F(FindRealPathTest, A64BitViewIsNeverRedirected) {
    EXPECT_EQ(Find(softwareKey + L"\\A", plainView), softwareKey + L"\\A");
    EXPECT_EQ(Find(softwareKey, plainView), softwareKey);
    EXPECT_EQ(Find(classesKey + L"\\CLSID\\{1}", plainView), classesKey + L"\\CLSID\\{1}");
}

TEST_F(FindRealPathTest, ARedirectedNameContinuesBelowTheNode) {
    EXPECT_EQ(Find(softwareKey + L"\\A\\B", redirectedView), nodeKey + L"\\A\\B");
}

TEST_F(FindRealPathTest, ARedirectedNameThatEndsAtAKeyWithANodeEndsAtTheNode) {
    EXPECT_EQ(Find(softwareKey, redirectedView), nodeKey);
}

TEST_F(FindRealPathTest, ANameThatContainsTheNodeIsNotRedirectedAgain) {
    EXPECT_EQ(Find(nodeKey + L"\\A", redirectedView), nodeKey + L"\\A");
    EXPECT_EQ(Find(softwareKey + L"\\wow6432node\\A", redirectedView), softwareKey + L"\\wow6432node\\A");
}

TEST_F(FindRealPathTest, OutsideOfNodesNothingIsRedirected) {
    EXPECT_EQ(Find(machineKey + L"\\System\\A", redirectedView), machineKey + L"\\System\\A");
}

TEST_F(FindRealPathTest, BelowAHandleOfThe64BitTreeARedirectedNameStays) {
    registry.Add(nodeKey + L"\\A");
    EXPECT_EQ(Find(softwareKey + L"\\A", L"B", redirectedView), softwareKey + L"\\A\\B");
}

TEST_F(FindRealPathTest, AskingForThe32BitViewLeadsThereFromA64BitHandle) {
    registry.Add(nodeKey + L"\\A");
    EXPECT_EQ(Find(softwareKey + L"\\A", L"B", view32), nodeKey + L"\\A\\B");
    EXPECT_EQ(Find(softwareKey, L"B", view32), nodeKey + L"\\B");
}

TEST_F(FindRealPathTest, AKeyThatTheNodeLacksIsNotLookedUpThere) {
    EXPECT_EQ(Find(softwareKey + L"\\A", L"B", view32), softwareKey + L"\\A\\B");
}

TEST_F(FindRealPathTest, AskingForThe32BitViewFollowsLinksInTheNode) {
    registry.AddLink(nodeKey + L"\\Shared", softwareKey + L"\\Shared");
    registry.Add(softwareKey + L"\\Shared\\A");
    registry.Add(nodeKey + L"\\Shared\\A"); // a live registry finds a key through a link, too
    EXPECT_EQ(Find(softwareKey + L"\\Shared\\A", L"B", view32), softwareKey + L"\\Shared\\A\\B");
    EXPECT_EQ(Find(softwareKey + L"\\Shared\\A", L"", view32), softwareKey + L"\\Shared\\A");
}

TEST_F(FindRealPathTest, AHandleInTheNodeStaysInTheNode) {
    EXPECT_EQ(Find(nodeKey + L"\\A", L"B", view32), nodeKey + L"\\A\\B");
    EXPECT_EQ(Find(nodeKey, L"B", view32), nodeKey + L"\\B");
}

TEST_F(FindRealPathTest, ANodeBelowANodeDoesNotRedirect) {
    registry.Add(nodeKey + L"\\Wow6432Node");
    EXPECT_EQ(Find(nodeKey, L"", redirectedView), nodeKey);
    EXPECT_EQ(Find(softwareKey + L"\\A", redirectedView), nodeKey + L"\\A");
}

TEST_F(FindRealPathTest, TheClassesAreReachedThroughTheLinkInTheNode) {
    EXPECT_EQ(Find(softwareKey + L"\\Classes\\CLSID\\{1}", redirectedView), sharedNode + L"\\CLSID\\{1}");
}

TEST_F(FindRealPathTest, AKeyThatTheSharedNodeLacksIsNextToIt) {
    EXPECT_EQ(Find(softwareKey + L"\\Classes\\A.File", redirectedView), classesKey + L"\\A.File");
    EXPECT_EQ(Find(sharedNode, L"A.File\\shell", redirectedView), classesKey + L"\\A.File\\shell");
}

TEST_F(FindRealPathTest, TheClassesThemselvesAreTheSameForBothViews) {
    EXPECT_EQ(Find(softwareKey + L"\\Classes", redirectedView), classesKey);
}

TEST_F(FindRealPathTest, AnEmptyNameBelowTheClassesIsTheSharedNode) {
    EXPECT_EQ(Find(classesKey, L"", redirectedView), sharedNode);
}

TEST_F(FindRealPathTest, BelowAHandleOfTheClassesASharedNameIsInTheNode) {
    EXPECT_EQ(Find(classesKey, L"CLSID\\{1}", redirectedView), sharedNode + L"\\CLSID\\{1}");
    EXPECT_EQ(Find(classesKey, L"A.File", redirectedView), classesKey + L"\\A.File");
}

TEST_F(FindRealPathTest, LinksLeadToTheirTarget) {
    registry.AddLink(softwareKey + L"\\Link", machineKey + L"\\System");
    EXPECT_EQ(Find(softwareKey + L"\\Link\\A", plainView), machineKey + L"\\System\\A");
    EXPECT_EQ(Find(softwareKey + L"\\Link", plainView), machineKey + L"\\System");
    EXPECT_EQ(Find(softwareKey + L"\\Link", L"A", plainView), machineKey + L"\\System\\A");
}

TEST_F(FindRealPathTest, ALinkMayLeadThroughAnother) {
    registry.AddLink(softwareKey + L"\\First", softwareKey + L"\\Second\\A");
    registry.AddLink(softwareKey + L"\\Second", machineKey + L"\\System");
    EXPECT_EQ(Find(softwareKey + L"\\First\\B", plainView), machineKey + L"\\System\\A\\B");
}

TEST_F(FindRealPathTest, TheTargetOfALinkIsNotRedirected) {
    registry.AddLink(machineKey + L"\\Link", softwareKey + L"\\A");
    EXPECT_EQ(Find(machineKey + L"\\Link\\B", redirectedView), softwareKey + L"\\A\\B");
}

TEST_F(FindRealPathTest, ARequestThatOpensLinksEndsAtALink) {
    registry.AddLink(softwareKey + L"\\First", softwareKey + L"\\Second");
    registry.AddLink(softwareKey + L"\\Second\\Third", machineKey);
    EXPECT_EQ(Find(softwareKey + L"\\First", linkView), softwareKey + L"\\First");
    EXPECT_EQ(Find(softwareKey + L"\\First\\Third", linkView), softwareKey + L"\\Second\\Third");
}

TEST_F(FindRealPathTest, AnEmptyNameFindsTheLinkItself) {
    registry.AddLink(nodeKey + L"\\Policies", softwareKey + L"\\Policies");
    EXPECT_EQ(Find(nodeKey + L"\\Policies", L"", plainView), nodeKey + L"\\Policies");
    EXPECT_EQ(Find(softwareKey + L"\\Policies", L"", view32), nodeKey + L"\\Policies");
}

TEST_F(FindRealPathTest, LinksInACircleEndSomewhere) {
    registry.AddLink(softwareKey + L"\\A", softwareKey + L"\\B\\B");
    registry.AddLink(softwareKey + L"\\B", softwareKey + L"\\A\\A");
    EXPECT_FALSE(Find(softwareKey + L"\\A\\A", plainView).empty());
}

TEST_F(FindRealPathTest, ARegistryWithoutNodesHasOneView) {
    registry = RegistryModel();
    registry.Add(softwareKey);
    EXPECT_EQ(Find(softwareKey + L"\\A", view32), softwareKey + L"\\A");
    EXPECT_EQ(Find(softwareKey, L"A", view32), softwareKey + L"\\A");
}

TEST_F(FindRealPathTest, AnythingHasAnAnswer) {
    for (const wchar_t* parent : {L"", L"\\", L"A", L"A\\B", L"\\\\", L"Wow6432Node"}) {
        for (const wchar_t* name :
             {L"", L"\\", L"\\\\", L"A", L"\\A\\", L"Wow6432Node", L"\\Wow6432Node\\"}) {
            for (const KeyView view : {plainView, redirectedView, view32, linkView}) {
                EXPECT_GE(Find(parent, name, view).size(), std::wstring_view(parent).size());
            }
        }
    }
}

} // namespace
} // namespace keyreap
