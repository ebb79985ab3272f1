// What a run makes of its mode word while the kernel logger cannot be started.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

constexpr wchar_t programsOwnKey[] = L"Software\\KeyreapRegServer";
constexpr wchar_t stayersOwnKey[] = L"Software\\KeyreapStaying";

class ModeWithoutLogger : public Workbench, public testing::WithParamInterface<Bitness> {
protected:
    ~ModeWithoutLogger() override {
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain");
        DeleteTree(HKEY_CURRENT_USER, programsOwnKey);
        DeleteTree(HKEY_CURRENT_USER, stayersOwnKey);
    }

    DWORD RunIn(const std::wstring& mode, const std::wstring& sample) const {
        return RunKeyreap(GetParam(),
                          L"extreg " + Pair(Sample(GetParam(), sample), Work(L"out.reg")) + L" " + mode);
    }
    static bool IsLive() { return KeyExists(HKEY_CLASSES_ROOT, L"Keyreap.Plain"); }
};

TEST_P(ModeWithoutLogger, BothGivesTheResultOfTheRedirection) {
    for (const wchar_t* mode : {L"both", L"BOTH", L"", L"garbage", L"keyredir2"}) {
        EXPECT_EQ(RunIn(mode, L"plain.dll"), 0U) << mode;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg"))) << mode;
        EXPECT_FALSE(IsLive()) << mode;
    }
    EXPECT_EQ(TemporaryFiles(), std::vector<std::wstring>());
}

TEST_P(ModeWithoutLogger, TraceGivesEmptyRootsAndTheEntriesStayInTheLiveRegistry) {
    for (const wchar_t* mode : {L"trace", L"TRACE"}) {
        EXPECT_EQ(RunIn(mode, L"plain.dll"), 0U) << mode;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots()))) << mode;
        EXPECT_EQ(ReadTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain"),
                  (RegistryTree{{L"", {{L"", TextValue(L"plain")}}}}));
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain");
    }
    EXPECT_EQ(TemporaryFiles(), std::vector<std::wstring>());
}

TEST_P(ModeWithoutLogger, TraceClearsNothingSoThatAStaleTreeIsTheResult) {
    EXPECT_EQ(RunIn(L"keyRedir", L"failing.dll"), 0U);
    EXPECT_EQ(RunIn(L"trace", L"silent.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("failing.reg")));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, temporaryKey));
}

TEST_P(ModeWithoutLogger, TraceRestoresNothingSoThatAStaleEmptySoftwareKeyIsInTheResult) {
    CreateKey(HKEY_CURRENT_USER, std::wstring(temporaryKey) + L"\\HKLM\\Software");
    EXPECT_EQ(RunIn(L"trace", L"silent.dll"), 0U);
    EXPECT_TRUE(
        Holds(Work(L"out.reg"), Document(UntouchedRoots() + L"\r\n[HKEY_LOCAL_MACHINE\\Software]\r\n")));
}

TEST_P(ModeWithoutLogger, AProgramIsStartedWithRegserverWhateverTheMode) {
    const std::wstring program = Sample(GetParam(), L"typelibnone.exe");
    const RegistryTree written = {{L"", {{L"command line", TextValue(Quoted(program) + L" /REGSERVER ")}}}};
    for (const wchar_t* mode : {L"keyRedir", L"both", L"trace"}) {
        EXPECT_EQ(RunIn(mode, L"typelibnone.exe"), 0U) << mode;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots()))) << mode;
        EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, programsOwnKey), written) << mode;
        DeleteTree(HKEY_CURRENT_USER, programsOwnKey);
    }
}

TEST_P(ModeWithoutLogger, AProgramUnderAnyExtensionIsStarted) {
    for (const wchar_t* name : {L"program.dat", L"program.dll", L"program.EXE"}) {
        ASSERT_TRUE(Copy(Sample(GetParam(), L"typelibnone.exe"), Work(name)));
        EXPECT_EQ(Capture(GetParam(), Work(name), Work(L"out.reg")), 0U) << name;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots()))) << name;
        EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, programsOwnKey)) << name;
        DeleteTree(HKEY_CURRENT_USER, programsOwnKey);
    }
}

TEST_P(ModeWithoutLogger, AProgramThatIgnoresRegserverAndStaysKeepsTheRunWaitingUntilItEnds) {
    const SharedEvent started(L"KeyreapStaying.Started");
    SharedEvent end(L"KeyreapStaying.End");
    RunningProgram waiting(Quoted(Keyreap(GetParam())) + L" extreg " +
                           Pair(Sample(GetParam(), L"staying.exe"), Work(L"waiting.reg")));
    started.Wait();
    // A whole run, at whose end one that did not wait would long be over. It takes the waiting one's
    // temporary tree with it, which stays empty anyhow.
    EXPECT_EQ(RunIn(L"keyRedir", L"silent.dll"), 0U);
    EXPECT_TRUE(waiting.IsRunning());
    EXPECT_FALSE(Exists(Work(L"waiting.reg")));
    end.Set();
    EXPECT_EQ(waiting.Wait(), 0U);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, stayersOwnKey));
    EXPECT_TRUE(Holds(Work(L"waiting.reg"), Document(UntouchedRoots())));
}

TEST_P(ModeWithoutLogger, AFileWithNothingToRunFailsInEveryMode) {
    for (const wchar_t* mode : {L"keyRedir", L"both", L"trace"}) {
        EXPECT_EQ(RunIn(mode, L"resourceonly.dll"), statusFailed) << mode;
        EXPECT_FALSE(Exists(Work(L"out.reg"))) << mode;
    }
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, ModeWithoutLogger, testing::Values(Bitness::x64, Bitness::x86),
                         NameOfBuild);

} // namespace

} // namespace keyreap::endtoend
