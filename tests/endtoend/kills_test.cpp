// A run that is killed at any stage costs nothing but itself.
#include "tests/endtoend/harness/stricthost.h"
#include "tests/endtoend/killedrun.h"

#include <algorithm>
#include <functional>

namespace keyreap::endtoend {

namespace {

// Runs that are killed while the target is held at one of its points.
class KilledWhileHeld : public KilledRun, public testing::WithParamInterface<Way> {
protected:
    void KillAt(const std::wstring& point) const {
        stops.Hold(point);
        RunningProgram program(Line(GetParam(), L"stopping.dll", L"killed.reg"));
        stops.Await(point);
        program.Kill();
        stops.Reset();
    }
    void ExpectNothingButATraceLog() const {
        EXPECT_FALSE(Exists(Work(L"killed.reg")));
        EXPECT_EQ(LeftATraceLog(), GetParam().IsTraced());
        EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, temporaryKey));
    }
    void ExpectTheLoggerToRunOnAtAStrictHost() const {
        EXPECT_EQ(LoggerIsLeftRunning(), GetParam().IsTraced() && HostIsStrict());
    }
    // The result of the same target is the one of a machine where no run was ever killed.
    void ExpectTheUndisturbedResult() const {
        EXPECT_EQ(CaptureOf(GetParam(), L"stopping.dll", L"again.reg"), 0U);
        EXPECT_TRUE(Holds(Work(L"again.reg"), undisturbed));
    }
    void SetUp() override {
        EXPECT_EQ(CaptureOf(GetParam(), L"stopping.dll", L"undisturbed.reg"), 0U);
        undisturbed = ReadBytes(Work(L"undisturbed.reg")).value_or(Bytes());
        EXPECT_EQ(LiveEntries(), RegistryTree());
        ForgetEverything();
    }
    // A target whose registry is redirected writes nothing there.
    static bool WroteToLiveRegistry() { return !LiveEntries().empty(); }

private:
    Bytes undisturbed;
};

TEST_P(KilledWhileHeld, WhileTheTargetIsLoadedLeavesTheTreeAndNoEntry) {
    KillAt(L"loading");
    ExpectTheLoggerToRunOnAtAStrictHost();
    ExpectNothingButATraceLog();
    EXPECT_FALSE(WroteToLiveRegistry());
    ExpectNextRunToSucceed(GetParam());
    ExpectTheUndisturbedResult();
}

TEST_P(KilledWhileHeld, WhileTheTargetWritesLeavesWhatItWroteWhereItWroteIt) {
    KillAt(L"registering");
    ExpectTheLoggerToRunOnAtAStrictHost();
    ExpectNothingButATraceLog();
    EXPECT_EQ(WroteToLiveRegistry(), !GetParam().IsRedirected());
    ExpectNextRunToSucceed(GetParam());
    ExpectTheUndisturbedResult();
}

TEST_P(KilledWhileHeld, AfterTheCaptureLeavesAllEntriesAndNoResult) {
    KillAt(L"unloading");
    EXPECT_FALSE(LoggerIsLeftRunning());
    ExpectNothingButATraceLog();
    EXPECT_EQ(WroteToLiveRegistry(), !GetParam().IsRedirected());
    ExpectNextRunToSucceed(GetParam());
    ExpectTheUndisturbedResult();
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, KilledWhileHeld, testing::ValuesIn(ways), NameOfWay);

// Runs that are killed at a stage where nothing can hold them. The test polls for the stage and then kills
// the run; it tries again if the run had already passed the stage.
class KilledInPassing : public KilledRun, public testing::WithParamInterface<Way> {
protected:
    using Condition = std::function<bool()>;

    void KillBetween(const std::wstring& sample, const Condition& begin, const Condition& end) const {
        constexpr int tries = 50;
        for (int i = 0; i < tries; ++i) {
            ForgetEverything();
            DeleteFileW(Work(L"killed.reg").c_str());
            // As on a machine where the program has already run, so that the run removes the tree at its end.
            CreateKey(HKEY_CURRENT_USER, productKey);
            RunningProgram program(Line(GetParam(), sample, L"killed.reg"));
            while (!begin() && program.IsRunning()) {
            }
            program.Kill();
            if (begin() && !end()) {
                return;
            }
        }
        ADD_FAILURE() << "No run was killed in this stage.";
    }
    static bool IsInTree(const std::wstring& path) {
        return KeyExists(HKEY_CURRENT_USER, std::wstring(temporaryKey) + path);
    }
    std::size_t Written() const { return SizeOf(Work(L"killed.reg")).value_or(0); }
    static std::size_t SizeOfResult() { return DocumentOfValues(GetParam(), someValues).size(); }
    // How many of its values the sample `somevalues` has in the live registry or, redirected, in the tree.
    static DWORD ValuesLeft() {
        const std::wstring tree = GetParam().IsRedirected() ? std::wstring(temporaryKey) + L"\\HKCU\\" : L"";
        return CountValues(HKEY_CURRENT_USER, tree + L"Software\\KeyreapMany");
    }
};

TEST_P(KilledInPassing, WhileTheTreeIsCreatedLeavesTheTree) {
    KillBetween(
        L"stopping.dll", [] { return IsInTree(L"\\HKLM"); },
        [this] { return IsInTree(L"\\HKLM\\Software") || stops.IsReached(L"loading"); });
    EXPECT_FALSE(Exists(Work(L"killed.reg")));
    ExpectNextRunToSucceed(GetParam());
}

TEST_P(KilledInPassing, WhileTheResultIsWrittenLeavesItsBeginning) {
    const Bytes whole = DocumentOfValues(GetParam(), someValues);
    const auto isBegun = [&] { return Written() > 0; };
    const auto isWhole = [&] { return Written() == whole.size(); };
    KillBetween(L"somevalues.dll", isBegun, isWhole);
    const Bytes written = ReadBytes(Work(L"killed.reg")).value_or(Bytes());
    EXPECT_LT(written.size(), whole.size());
    EXPECT_TRUE(std::equal(written.begin(), written.end(), whole.begin()));
    EXPECT_EQ(ValuesLeft(), static_cast<DWORD>(someValues));
    ExpectNextRunToSucceed(GetParam());
    EXPECT_EQ(CaptureOf(GetParam(), L"somevalues.dll", L"killed.reg"), 0U);
    EXPECT_TRUE(Holds(Work(L"killed.reg"), whole));
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, KilledInPassing, testing::ValuesIn(ways), NameOfWay);

class KilledWhileRedirecting : public KilledInPassing {};

TEST_P(KilledWhileRedirecting, LeavesOnlyTheTree) {
    KillBetween(
        L"stopping.dll", [] { return IsInTree(L"\\HKLM\\Software"); },
        [this] { return stops.IsReached(L"loading"); });
    EXPECT_FALSE(Exists(Work(L"killed.reg")));
    EXPECT_EQ(LiveEntries(), RegistryTree());
    ExpectNextRunToSucceed(GetParam());
}

INSTANTIATE_TEST_SUITE_P(InModesThatRedirect, KilledWhileRedirecting, testing::ValuesIn(waysThatRedirect),
                         NameOfWay);

class KilledInRemovalPass : public KilledInPassing {};

TEST_P(KilledInRemovalPass, LeavesTheWholeResultAndTheValuesNotYetRemoved) {
    KillBetween(
        L"somevalues.dll", [&] { return Written() == SizeOfResult() && ValuesLeft() < someValues; },
        [] { return ValuesLeft() == 0; });
    EXPECT_TRUE(Holds(Work(L"killed.reg"), DocumentOfValues(GetParam(), someValues)));
    EXPECT_GT(ValuesLeft(), 0U);
    ExpectNextRunToSucceed(GetParam());
    EXPECT_EQ(ValuesLeft() > 0, !GetParam().IsRedirected());
}

INSTANTIATE_TEST_SUITE_P(InModesThatTrace, KilledInRemovalPass, testing::ValuesIn(waysThatTrace), NameOfWay);

class KilledWhileTreeIsRemoved : public KilledInPassing {};

TEST_P(KilledWhileTreeIsRemoved, LeavesTheWholeResultAndTheRestOfTheTree) {
    const std::wstring key = L"\\HKCR\\Keyreap.Keys";
    KillBetween(
        L"keys.dll",
        [&] { return IsInTree(key + L"\\Wide") && Written() > 0 && !IsInTree(key + L"\\Default"); },
        [&] { return !IsInTree(key); });
    EXPECT_TRUE(Holds(Work(L"killed.reg"), Golden("keys.reg")));
    EXPECT_TRUE(IsInTree(key));
    ExpectNextRunToSucceed(GetParam());
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, KilledWhileTreeIsRemoved, testing::Values(ways[0], ways[3]),
                         NameOfWay);

class KilledParent : public KilledRun {};

TEST_F(KilledParent, DoesNotStopItsCompanion) {
    const Way way = {Bitness::x86, L"keyRedir"};
    EXPECT_EQ(CaptureOf(way, L"stopping.dll", L"undisturbed.reg"), 0U);
    stops.Reset();
    stops.Hold(L"registering");
    RunningProgram parent(Quoted(Keyreap(Bitness::x64)) + L" extreg " +
                          Pair(Sample(Bitness::x86, L"stopping.dll"), Work(L"out.reg")) + L" keyRedir");
    stops.Await(L"registering");
    parent.Kill();
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    stops.LetGo(L"registering");
    // The removal of the tree is the companion's last step but one.
    EXPECT_TRUE(Eventually([] { return !KeyExists(HKEY_CURRENT_USER, temporaryKey); }));
    EXPECT_TRUE(Holds(Work(L"out.reg"), ReadBytes(Work(L"undisturbed.reg")).value_or(Bytes())));
    ExpectNextRunToSucceed(way);
}

} // namespace

} // namespace keyreap::endtoend
