// The modes where the kernel logger can't be started.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

constexpr wchar_t programsKey[] = L"Software\\KeyreapRegServer";
constexpr wchar_t stayersKey[] = L"Software\\KeyreapStaying";

class ModeWithoutLogger : public Workbench, public testing::WithParamInterface<Bitness> {
protected:
    ~ModeWithoutLogger() override {
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain");
        DeleteTree(HKEY_CURRENT_USER, programsKey);
        DeleteTree(HKEY_CURRENT_USER, stayersKey);
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
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(ModeWithoutLogger, TraceGivesEmptyRootsAndLeavesTheEntriesInTheLiveRegistry) {
    for (const wchar_t* mode : {L"trace", L"TRACE"}) {
        EXPECT_EQ(RunIn(mode, L"plain.dll"), 0U) << mode;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots()))) << mode;
        EXPECT_EQ(ReadTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain"),
                  (RegistryTree{{L"", {{L"", TextValue(L"plain")}}}}));
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain");
    }
    EXPECT_EQ(TemporaryFiles(), nothing);
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

TEST_P(ModeWithoutLogger, AProgramIsStartedWithRegserverInEveryMode) {
    const std::wstring program = Sample(GetParam(), L"typelibnone.exe");
    const RegistryTree written = {{L"", {{L"command line", TextValue(Quoted(program) + L" /REGSERVER ")}}}};
    for (const wchar_t* mode : {L"keyRedir", L"both", L"trace"}) {
        EXPECT_EQ(RunIn(mode, L"typelibnone.exe"), 0U) << mode;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots()))) << mode;
        EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, programsKey), written) << mode;
        DeleteTree(HKEY_CURRENT_USER, programsKey);
    }
}

TEST_P(ModeWithoutLogger, AProgramUnderAnyExtensionIsStarted) {
    for (const wchar_t* name : {L"program.dat", L"program.dll", L"program.EXE"}) {
        ASSERT_TRUE(Copy(Sample(GetParam(), L"typelibnone.exe"), Work(name)));
        EXPECT_EQ(Capture(GetParam(), Work(name), Work(L"out.reg")), 0U) << name;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots()))) << name;
        EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, programsKey)) << name;
        DeleteTree(HKEY_CURRENT_USER, programsKey);
    }
}

TEST_P(ModeWithoutLogger, AProgramThatIgnoresRegserverAndStaysKeepsTheRunWaitingUntilItEnds) {
    const SharedEvent started(L"KeyreapStaying.Started");
    SharedEvent end(L"KeyreapStaying.End");
    RunningProgram waiting(Quoted(Keyreap(GetParam())) + L" extreg " +
                           Pair(Sample(GetParam(), L"staying.exe"), Work(L"waiting.reg")));
    started.Wait();
    // A whole second run: if the first one did not wait, it would have ended by now. The second run also
    // removes the first one's temporary tree, which would stay empty anyway.
    EXPECT_EQ(RunIn(L"keyRedir", L"silent.dll"), 0U);
    EXPECT_TRUE(waiting.IsRunning());
    EXPECT_FALSE(Exists(Work(L"waiting.reg")));
    end.Set();
    EXPECT_EQ(waiting.Wait(), 0U);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, stayersKey));
    EXPECT_TRUE(Holds(Work(L"waiting.reg"), Document(UntouchedRoots())));
}

TEST_P(ModeWithoutLogger, AFileWithNothingToRunFailsInEveryMode) {
    for (const wchar_t* mode : {L"keyRedir", L"both", L"trace"}) {
        EXPECT_EQ(RunIn(mode, L"resourceonly.dll"), statusFailed) << mode;
        EXPECT_FALSE(Exists(Work(L"out.reg"))) << mode;
    }
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, ModeWithoutLogger, testing::ValuesIn(bothBuilds), NameOfBuild);

} // namespace

} // namespace keyreap::endtoend
