#include "hostlogger/serverprocess.h"
#include "tests/unit/hostlogger/registrymodel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace keyreap {
namespace {

std::shared_ptr<const OpenKey> Key(const std::wstring& path) {
    return std::make_shared<const OpenKey>(path);
}

TEST(OpenKey, AKnownPathIsNotLookedUp) {
    RegistryModel registry;
    EXPECT_EQ(Key(L"\\REGISTRY\\Machine")->Path(registry), L"\\REGISTRY\\Machine");
    EXPECT_EQ(registry.questions, 0);
}

TEST(OpenKey, AnUnknownPathIsLookedUpOnce) {
    RegistryModel registry = MachineWithNodes();
    const OpenKey key(Key(L"\\REGISTRY\\Machine"), L"Software\\A", KeyView{true, false});
    EXPECT_EQ(key.Path(registry), L"\\REGISTRY\\Machine\\Software\\Wow6432Node\\A");
    const int questions = registry.questions;
    registry.keys.clear();
    EXPECT_EQ(key.Path(registry), L"\\REGISTRY\\Machine\\Software\\Wow6432Node\\A");
    EXPECT_EQ(registry.questions, questions);
}

TEST(OpenKey, ItsParentIsKeptNoLongerThanNeeded) {
    RegistryModel registry;
    const auto parent = Key(L"\\REGISTRY");
    const OpenKey key(parent, L"A", KeyView());
    EXPECT_EQ(parent.use_count(), 2);
    key.Path(registry);
    EXPECT_EQ(parent.use_count(), 1);
}

TEST(OpenKey, ItsDepthCountsTheUnknownPathsAboveIt) {
    RegistryModel registry;
    const auto known = Key(L"\\REGISTRY");
    const auto first = std::make_shared<const OpenKey>(known, L"A", KeyView());
    const auto second = std::make_shared<const OpenKey>(first, L"B", KeyView());
    EXPECT_EQ(known->Depth(), 0U);
    EXPECT_EQ(first->Depth(), 0U);
    EXPECT_EQ(second->Depth(), 1U);
    second->Path(registry);
    EXPECT_EQ(OpenKey(second, L"C", KeyView()).Depth(), 0U);
}

TEST(ServerProcesses, AThreadBelongsToItsProcessUntilItEnds) {
    ServerProcesses processes;
    processes.StartThread(5, 7);
    EXPECT_EQ(processes.ProcessOf(5), 7U);
    processes.EndThread(5);
    EXPECT_EQ(processes.ProcessOf(5), 0U);
}

TEST(ServerProcesses, AProcessThatEndedIsForgotten) {
    ServerProcesses processes;
    processes.Process(7).started = true;
    processes.End(7);
    EXPECT_EQ(processes.Find(7), nullptr);
    EXPECT_TRUE(processes.All().empty());
}

class Inheritance : public testing::Test {
protected:
    Inheritance() {
        parent.handles[4] = {Key(L"\\A"), 0, true};
        parent.handles[8] = {Key(L"\\B"), 0, false};
        parent.handles[12] = {Key(L"\\C"), 0, true};
    }

    std::vector<std::uint32_t> HandlesOfChild(const ServerProcess* from,
                                              const std::vector<std::uint32_t>& listed = {}) {
        processes.Start(7, from, listed);
        std::vector<std::uint32_t> handles;
        for (const auto& [value, handle] : processes.Process(7).handles) {
            handles.push_back(value);
        }
        std::ranges::sort(handles);
        return handles;
    }

    ServerProcesses processes;
    ServerProcess parent;
};

TEST_F(Inheritance, AChildHasTheInheritableHandlesOfItsParent) {
    EXPECT_EQ(HandlesOfChild(&parent), (std::vector<std::uint32_t>{4, 12}));
}

TEST_F(Inheritance, OfAListOnlyInheritableHandles) {
    EXPECT_EQ(HandlesOfChild(&parent, {8, 12}), (std::vector<std::uint32_t>{12}));
}

TEST_F(Inheritance, AChildThatInheritsNothingHasNoHandles) {
    EXPECT_TRUE(HandlesOfChild(nullptr).empty());
}

TEST_F(Inheritance, AChildReplacesTheProcessThatHadItsId) {
    processes.Process(7).handles[16] = {Key(L"\\D"), 0, true};
    processes.Process(7).started = true;
    EXPECT_EQ(HandlesOfChild(&parent), (std::vector<std::uint32_t>{4, 12}));
    EXPECT_FALSE(processes.Process(7).started);
}

} // namespace
} // namespace keyreap
