// Runs while another session of the logger exists: a prefix has only one of this name at a time.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/stricthost.h"
#include "tests/endtoend/tracedsession.h"

namespace keyreap::endtoend {

namespace {

// The other session belongs to a capture by the other build, which waits in its target.
class TakenLogger : public TracedSession {
protected:
    TakenLogger()
        : owner(Quoted(Keyreap(OwnerBuild())) + L" extreg " +
                Pair(Sample(OwnerBuild(), L"pausing.dll"), Work(L"owner.reg")) + L" trace") {
        reached.Wait();
    }
    ~TakenLogger() override {
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain");
        for (const wchar_t* key : {L"Software\\KeyreapPausing", L"Software\\KeyreapFamily"}) {
            DeleteTree(HKEY_CURRENT_USER, key);
            DeleteTree(HKEY_LOCAL_MACHINE, key);
        }
        for (const wchar_t* key :
             {L"Software\\Classes\\", L"Software\\Wow6432Node\\", L"Software\\Classes\\Wow6432Node\\"}) {
            DeleteTree(HKEY_LOCAL_MACHINE, key + std::wstring(L"Keyreap.Pausing"));
            DeleteTree(HKEY_LOCAL_MACHINE, key + std::wstring(L"KeyreapPausing"));
        }
    }

    static Bitness OwnerBuild() { return GetParam().program == Bitness::x64 ? Bitness::x86 : Bitness::x64; }
    void LetTheOwnerContinue() {
        goOn.Set();
        EXPECT_EQ(owner.Wait(), 0U);
        EXPECT_TRUE(Holds(Work(L"owner.reg"), Golden("pausing-traced.reg")));
    }

    SharedEvent reached = SharedEvent(L"KeyreapPausing.Reached");
    SharedEvent goOn = SharedEvent(L"KeyreapPausing.GoOn");
    RunningProgram owner;
};

TEST_P(TakenLogger, LeavesBothTheResultOfTheRedirection) {
    for (const wchar_t* mode : {L"both", L""}) {
        EXPECT_EQ(Trace(L"plain.dll", mode), 0U) << mode;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg"))) << mode;
        EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Keyreap.Plain")) << mode;
    }
    LetTheOwnerContinue();
}

TEST_P(TakenLogger, LeavesTraceEmptyRootsAndEntriesInTheLiveRegistry) {
    EXPECT_EQ(Trace(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots())));
    EXPECT_EQ(ReadTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain"),
              (RegistryTree{{L"", {{L"", TextValue(L"plain")}}}}));
    LetTheOwnerContinue();
}

TEST_P(TakenLogger, LeavesAProgramEmptyRootsToo) {
    EXPECT_EQ(Trace(L"family.exe"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots())));
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, L"Software\\KeyreapFamily\\After"));
    LetTheOwnerContinue();
}

TEST_P(TakenLogger, IsFreeWhenItsOwnerHasEnded) {
    LetTheOwnerContinue();
    EXPECT_EQ(Trace(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain-traced.reg")));
}

TEST_P(TakenLogger, IsFreeWhenItsOwnerWasKilledAndNothingKeepsItRunning) {
    owner.Kill();
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, L"Software\\KeyreapPausing"));
    EXPECT_EQ(LoggerIsLeftRunning(), HostIsStrict());
    if (HostIsStrict()) {
        EXPECT_EQ(Trace(L"plain.dll"), 0U);
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots())));
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain");
        StopLeftLogger();
    }
    EXPECT_EQ(Trace(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain-traced.reg")));
}

// A pair that could not be traced does not prevent the trace of the next one.
TEST_P(TakenLogger, IsRequestedAgainByEachPair) {
    SharedEvent mayEnd(L"KeyreapStaying.End");
    const SharedEvent started(L"KeyreapStaying.Started");
    const std::wstring pairs = Pair(Target(L"staying.exe"), Work(L"first.reg")) + L" " +
                               Pair(Target(L"plain.dll"), Work(L"out.reg"));
    RunningProgram run(Quoted(Keyreap(GetParam().program)) + L" extreg " + pairs + L" trace");
    started.Wait();
    LetTheOwnerContinue();
    mayEnd.Set();
    EXPECT_EQ(run.Wait(), 0U);
    EXPECT_TRUE(Holds(Work(L"first.reg"), Document(UntouchedRoots())));
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain-traced.reg")));
    DeleteTree(HKEY_CURRENT_USER, L"Software\\KeyreapStaying");
}

INSTANTIATE_TEST_SUITE_P(ByRoute, TakenLogger, testing::ValuesIn(routes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
