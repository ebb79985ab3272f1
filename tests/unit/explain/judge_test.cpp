#include "kit/explain/judge.h"
#include "tests/unit/explain/capturedstory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const std::wstring key = std::wstring(treePath) + L"HKCR\\Server";
const std::wstring name = L"HKEY_CLASSES_ROOT\\Server";
const std::wstring liveKey = L"\\REGISTRY\\Machine\\Software\\Server";
const std::wstring liveName = L"HKEY_LOCAL_MACHINE\\Software\\Server";

// A verdict has to hold whether the result comes from a trace or from the trees.
enum class Source { Trees, Trace };

class JudgeOfBoth : public testing::TestWithParam<Source> {
protected:
    // After the last operation.
    void MakeResult() {
        if (GetParam() == Source::Trace) {
            capture.RecordTrace();
        }
    }

    CapturedStory capture;
};

INSTANTIATE_TEST_SUITE_P(Sources, JudgeOfBoth, testing::Values(Source::Trees, Source::Trace));

TEST_P(JudgeOfBoth, AValueThatLastsIsInTheResult) {
    const std::size_t created = capture.Create(key);
    const std::size_t set = capture.Set(key, L"a");
    capture.HasValue(name, L"A");
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(created).verdict, Verdict::InResult);
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::InResult);
    EXPECT_EQ(capture.VerdictOn(set).key, name);
}

TEST_P(JudgeOfBoth, AKeyWithoutALineOfItsOwnIsImplied) {
    const std::size_t created = capture.Create(key);
    capture.Create(key + L"\\Sub");
    capture.HasKey(name + L"\\Sub");
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(created).verdict, Verdict::InResultBelow);
}

TEST_P(JudgeOfBoth, AnEarlierSettingIsOverwritten) {
    const std::size_t first = capture.Set(key, L"a");
    const std::size_t second = capture.Set(key, L"A");
    capture.HasValue(name, L"a");
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(first).verdict, Verdict::Overwritten);
    EXPECT_EQ(capture.VerdictOn(first).other, second);
    EXPECT_EQ(capture.VerdictOn(second).verdict, Verdict::InResult);
}

TEST_P(JudgeOfBoth, AValueThatIsRemovedIsDeletedAgain) {
    const std::size_t set = capture.Set(key, L"a");
    const std::size_t removed = capture.DeleteValue(key, L"a");
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::DeletedAgain);
    EXPECT_EQ(capture.VerdictOn(set).other, removed);
    EXPECT_EQ(capture.VerdictOn(removed).verdict, Verdict::Undone);
    EXPECT_EQ(capture.VerdictOn(removed).other, set);
}

TEST_P(JudgeOfBoth, AKeyGoesWithTheKeyAbove) {
    const std::size_t created = capture.Create(key + L"\\Sub");
    const std::size_t removed = capture.DeleteKey(key);
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(created).verdict, Verdict::DeletedAgain);
    EXPECT_EQ(capture.VerdictOn(created).other, removed);
}

TEST_P(JudgeOfBoth, ARemovalOfWhatWasThereIsInNoResult) {
    const std::size_t removed = capture.DeleteValue(key, L"a");
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(removed).verdict, Verdict::OldRemoved);
}

TEST_P(JudgeOfBoth, AKeyThatWasThereIsOnlyOpened) {
    const std::size_t opened = capture.Open(key);
    const std::size_t read = capture.Add(registryevent::queryValue, key, L"a");
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(opened).verdict, Verdict::OnlyOpened);
    EXPECT_EQ(capture.VerdictOn(read).verdict, Verdict::OnlyOpened);
}

TEST_P(JudgeOfBoth, AKeyThatIsChangedIsNotOnlyOpened) {
    const std::size_t opened = capture.Open(key);
    capture.Set(key, L"a");
    MakeResult();
    EXPECT_FALSE(capture.Matters(opened));
}

TEST_P(JudgeOfBoth, AMissingKeyIsEmptyInTheTreeIfTheRegistryHasIt) {
    const std::size_t missing = capture.Open(key, notFound);
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(missing).verdict, Verdict::NotFound);
    capture.live.keys = {L"Server"};
    EXPECT_EQ(capture.VerdictOn(missing).verdict, Verdict::EmptyThere);
}

TEST_P(JudgeOfBoth, AMissingValueIsEmptyInTheTreeIfTheRegistryHasIt) {
    const std::size_t missing = capture.Add(registryevent::queryValue, key, L"a", notFound);
    capture.live.keys = {L"Server"};
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(missing).verdict, Verdict::NotFound);
    capture.live.values = {L"Server a"};
    EXPECT_EQ(capture.VerdictOn(missing).verdict, Verdict::EmptyThere);
}

TEST_P(JudgeOfBoth, WhatIsMissingOutsideOfTheTreeIsNowhere) {
    const std::size_t missing = capture.Open(liveKey, notFound);
    capture.live.keys = {L"Software\\Server"};
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(missing).verdict, Verdict::NotFound);
}

TEST_P(JudgeOfBoth, AKeyMayBeMadeLaterThanItIsLookedFor) {
    const std::size_t missing = capture.Open(key, notFound);
    capture.Create(key);
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(missing).verdict, Verdict::NotYetThere);
}

TEST_P(JudgeOfBoth, AValueMayBeSetLaterThanItIsLookedFor) {
    const std::size_t missing = capture.Add(registryevent::queryValue, key, L"a", notFound);
    capture.Set(key, L"a");
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(missing).verdict, Verdict::NotYetThere);
}

TEST_P(JudgeOfBoth, WhatWasMadeAndRemovedBeforeIsNotMadeLater) {
    capture.Set(key, L"a");
    capture.DeleteValue(key, L"a");
    const std::size_t value = capture.Add(registryevent::queryValue, key, L"a", notFound);
    capture.Create(key + L"\\Sub");
    capture.DeleteKey(key + L"\\Sub");
    const std::size_t subkey = capture.Open(key + L"\\Sub", notFound);
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(value).verdict, Verdict::NotFound);
    EXPECT_EQ(capture.VerdictOn(subkey).verdict, Verdict::NotFound);
}

TEST_P(JudgeOfBoth, ALaterRemovalMakesNothing) {
    const std::size_t value = capture.Add(registryevent::queryValue, key, L"a", notFound);
    const std::size_t subkey = capture.Open(key + L"\\Sub", notFound);
    capture.DeleteKey(key);
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(value).verdict, Verdict::NotFound);
    EXPECT_EQ(capture.VerdictOn(subkey).verdict, Verdict::NotFound);
}

TEST_P(JudgeOfBoth, WhatAnInnerPartOfTheHostLooksForDoesNotMatter) {
    const std::size_t missing = capture.Open(key, notFound);
    const std::size_t opened = capture.Open(key + L"\\Sub");
    capture.Operation(missing).isInner = true;
    capture.Operation(opened).isInner = true;
    MakeResult();
    EXPECT_FALSE(capture.Matters(missing));
    EXPECT_FALSE(capture.Matters(opened));
}

TEST_P(JudgeOfBoth, AChildIsNotWatched) {
    const std::size_t child = capture.StartProcess(L"child.exe", 0);
    const std::size_t set = capture.By(child).Set(liveKey, L"a");
    const std::size_t opened = capture.Open(liveKey);
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::Unwatched);
    EXPECT_FALSE(capture.Matters(opened));
}

TEST_P(JudgeOfBoth, WhatTheMakerOfTheResultDoesIsNoOperationOfTheServer) {
    const std::size_t set = capture.Set(key, L"a");
    const std::size_t removed = capture.By(0, CapturedStory::makersThread).DeleteValue(key, L"a");
    capture.HasValue(name, L"a");
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::InResult);
    EXPECT_FALSE(capture.Matters(removed));
}

TEST_P(JudgeOfBoth, ARefusalIsNamed) {
    const std::size_t refused = capture.Add(registryevent::setValue, key, L"a", 0xC0000022);
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(refused).verdict, Verdict::Refused);
}

TEST_P(JudgeOfBoth, ARemovalOfWhatIsMissingIsNoRefusal) {
    constexpr std::uint32_t pathNotFound = 0xC000003A; // STATUS_OBJECT_PATH_NOT_FOUND, ntstatus.h
    const std::size_t value = capture.Add(registryevent::deleteValue, key, L"a", notFound);
    const std::size_t subkey = capture.Add(registryevent::deleteKey, key, {}, pathNotFound);
    const std::size_t refused = capture.Add(registryevent::deleteValue, key, L"a", 0xC0000022);
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(value).verdict, Verdict::NothingRemoved);
    EXPECT_EQ(capture.VerdictOn(subkey).verdict, Verdict::NothingRemoved);
    EXPECT_EQ(capture.VerdictOn(refused).verdict, Verdict::Refused);
}

TEST_P(JudgeOfBoth, WhatIsOfTheSystemIsNoise) {
    const std::size_t set = capture.Set(key, L"a");
    capture.Operation(set).isSystems = true;
    MakeResult();
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::Systems);
}

TEST(JudgeOfTrees, ARenamedKeyHasItsNewName) {
    CapturedStory capture;
    const std::size_t set = capture.Set(key, L"a");
    const std::size_t renamed = capture.Rename(key, L"New");
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::Renamed);
    EXPECT_EQ(capture.VerdictOn(set).other, renamed);
}

TEST(JudgeOfTrees, WhatGoesPastTheRootsIsNotInTheResult) {
    CapturedStory capture;
    const std::size_t set = capture.Set(liveKey, L"a");
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::NotRedirected);
}

TEST(JudgeOfTrees, AWriteAfterTheTreesWereReadIsTooLate) {
    CapturedStory capture;
    const std::size_t early = capture.Set(key, L"a");
    capture.By(0, CapturedStory::makersThread).Open(std::wstring(treePath) + L"HKCR");
    const std::size_t late = capture.By(0).Set(key, L"b");
    capture.HasValue(name, L"a");
    EXPECT_EQ(capture.VerdictOn(early).verdict, Verdict::InResult);
    EXPECT_EQ(capture.VerdictOn(late).verdict, Verdict::AfterTrace);
}

TEST(JudgeOfTrace, AWriteAfterTheTraceIsTooLate) {
    CapturedStory capture;
    const std::size_t set = capture.In(StoryPhase::After).Set(key, L"a");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::AfterTrace);
}

TEST(JudgeOfTrace, TheServersOwnProcessIsWatched) {
    CapturedStory capture;
    capture.facts.serverProcess = capture.StartProcess(L"server.exe", 0);
    const std::size_t set = capture.By(capture.facts.serverProcess).Set(liveKey, L"a");
    capture.HasValue(liveName, L"a");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::InResult);
}

TEST(JudgeOfTrace, AProcessThatTheLogHasIsWatched) {
    CapturedStory capture;
    const std::size_t child = capture.StartProcess(L"child.exe", 0);
    const std::size_t set = capture.By(child).Set(liveKey, L"a");
    capture.HasValue(liveName, L"a");
    capture.facts.serverProcess = child;
    capture.RecordTrace();
    capture.facts.serverProcess = noIndex;
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::InResult);
}

TEST(JudgeOfTrace, ARenamedKeyGivesFillers) {
    CapturedStory capture;
    const std::size_t created = capture.Create(key);
    const std::size_t set = capture.Set(key, L"a");
    const std::size_t renamed = capture.Rename(key, L"New");
    capture.HasFiller(name, L"a");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(created).verdict, Verdict::OldName);
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::Filler);
    EXPECT_EQ(capture.VerdictOn(set).cause, FillerCause::KeyRenamed);
    EXPECT_EQ(capture.VerdictOn(set).other, renamed);
}

TEST(JudgeOfTrace, AValueWhoseKeyIsDeletedGivesAFiller) {
    CapturedStory capture;
    const std::size_t set = capture.Set(key, L"a");
    const std::size_t child = capture.StartProcess(L"child.exe", 0);
    const std::size_t removed = capture.By(child).DeleteKey(key);
    capture.HasFiller(name, L"a");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(set).cause, FillerCause::Deleted);
    EXPECT_EQ(capture.VerdictOn(set).other, removed);
}

TEST(JudgeOfTrace, AFillerMayComeFromAKeyThatTheMakerCanNotOpen) {
    constexpr std::uint32_t accessDenied = 0xC0000022;
    CapturedStory capture;
    const std::size_t set = capture.Set(key, L"a");
    capture.HasFiller(name, L"a");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(set).cause, FillerCause::Unknown);
    capture.By(0, CapturedStory::makersThread).In(StoryPhase::After).Open(key, accessDenied);
    EXPECT_EQ(capture.VerdictOn(set).cause, FillerCause::KeyNotOpened);
    EXPECT_EQ(capture.VerdictOn(set).causeStatus, accessDenied);
}

TEST(JudgeOfTrace, TheOtherViewIsNamed) {
    CapturedStory capture;
    const std::size_t lost = capture.Set(L"\\REGISTRY\\Machine\\Software\\Wow6432Node\\Server", L"a");
    const std::size_t inBoth = capture.Set(L"\\REGISTRY\\Machine\\Software\\Wow6432Node\\Server", L"b");
    capture.Operation(lost).isOtherView = true;
    capture.Operation(inBoth).isOtherView = true;
    capture.HasFiller(liveName, L"a").HasValue(liveName, L"b");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(lost).verdict, Verdict::OtherView);
    EXPECT_EQ(capture.VerdictOn(lost).cause, FillerCause::OtherView);
    EXPECT_EQ(capture.VerdictOn(inBoth).verdict, Verdict::OtherView);
    EXPECT_EQ(capture.VerdictOn(inBoth).cause, FillerCause::None);
}

TEST(JudgeOfTrace, AControlSetWithoutValuesIsNoise) {
    CapturedStory capture;
    const std::size_t live = capture.Create(L"\\REGISTRY\\Machine\\System\\CurrentControlSet\\Server");
    const std::size_t above = capture.Create(std::wstring(treePath) + L"HKLM\\SYSTEM");
    const std::size_t inTree = capture.Create(std::wstring(treePath) + L"HKLM\\SYSTEM\\CurrentControlSet");
    capture.RecordTrace();
    for (const std::size_t operation : {live, above, inTree}) {
        EXPECT_EQ(capture.VerdictOn(operation).verdict, Verdict::Systems);
    }
}

TEST(JudgeOfTrace, AControlSetWithAValueIsTheServers) {
    CapturedStory capture;
    const std::size_t created = capture.Create(L"\\REGISTRY\\Machine\\System\\ControlSet001\\Server");
    capture.Set(L"\\REGISTRY\\Machine\\System\\ControlSet001\\Server", L"a");
    capture.HasValue(L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Server", L"a");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(created).verdict, Verdict::InResult);
}

TEST(JudgeOfTrace, AFullLogLacksTheOldestOperations) {
    CapturedStory capture;
    const std::size_t cut = capture.Set(key, L"cut");
    const std::size_t twice = capture.Set(key, L"twice");
    const std::size_t again = capture.Set(key, L"twice");
    capture.HasValue(name, L"twice");
    capture.RecordTrace(2);
    EXPECT_EQ(capture.VerdictOn(cut).verdict, Verdict::Cut);
    EXPECT_EQ(capture.VerdictOn(twice).verdict, Verdict::Overwritten);
    EXPECT_EQ(capture.VerdictOn(again).verdict, Verdict::InResult);
}

TEST(JudgeOfTrace, AKeyWithoutValuesDependsOnTheKeysBelow) {
    CapturedStory capture;
    const std::size_t created = capture.Create(key);
    capture.Open(key + L"\\Sub");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(created).verdict, Verdict::EmptyKeyWithKeys);
}

TEST(JudgeOfTrace, WhatNoReasonExplainsIsSaidToBeSo) {
    CapturedStory capture;
    const std::size_t set = capture.Set(key, L"a");
    capture.RecordTrace();
    EXPECT_EQ(capture.VerdictOn(set).verdict, Verdict::Lost);
}

} // namespace
} // namespace keyreap
