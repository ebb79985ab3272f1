// A target that faults during a trace: what the run leaves, in each mode that traces.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/stricthost.h"
#include "tests/endtoend/tracedsession.h"

namespace keyreap::endtoend {

namespace {

constexpr DWORD accessViolation = 0xC0000005;

class TracedFault : public TracedSession {
protected:
    ~TracedFault() override { DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Fault"); }

    // Where the session outlives the crash, nobody gets the logger until it is stopped.
    void ExpectTheLoggerToBeTakenAtAStrictHost() const {
        EXPECT_EQ(LoggerIsLeftRunning(), HostIsStrict());
        if (HostIsStrict()) {
            EXPECT_EQ(Trace(L"plain.dll", L"both"), 0U);
            EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
            EXPECT_EQ(Trace(L"plain.dll", L"trace"), 0U);
            EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots())));
            DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain");
            StopLeftLogger();
        }
    }

    // With keys of only one root the default mode has the same order as `trace`.
    void ExpectNextRunToSucceed(const wchar_t* mode) const {
        const Lines files = TemporaryFiles();
        EXPECT_EQ(Trace(L"plain.dll", mode), 0U);
        EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain-traced.reg")));
        EXPECT_EQ(TemporaryFiles(), files);
    }
};

const std::wstring tree = L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary";
const std::wstring liveEntry = L"+ HKLM\\Software\\Classes\\Keyreap.Fault";

TEST_P(TracedFault, InTraceLeavesItsEntryInTheLiveRegistryForGood) {
    const SavedRegistry before;
    EXPECT_EQ(Trace(L"faultReadNull.dll", L"trace"), accessViolation);
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    EXPECT_TRUE(before.Changed(
        (Lines{tree, tree + L"\\HKCR", tree + L"\\HKCU", tree + L"\\HKLM", tree + L"\\HKU", liveEntry})));
    EXPECT_TRUE(LeftATraceLog());

    ExpectTheLoggerToBeTakenAtAStrictHost();
    ExpectNextRunToSucceed(L"trace");
    EXPECT_TRUE(before.Changed(Lines{liveEntry}));
}

TEST_P(TracedFault, InTheDefaultModeLeavesItsEntryInTheTreeThatTheNextRunRemoves) {
    const SavedRegistry before;
    EXPECT_EQ(Trace(L"faultReadNull.dll", L""), accessViolation);
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    EXPECT_TRUE(before.Changed(
        (Lines{tree, tree + L"\\HKCR", tree + L"\\HKCR\\Keyreap.Fault", tree + L"\\HKCU", tree + L"\\HKLM",
               tree + L"\\HKLM\\Software", tree + L"\\HKLM\\Software\\Classes", tree + L"\\HKU"})));
    EXPECT_TRUE(LeftATraceLog());

    ExpectTheLoggerToBeTakenAtAStrictHost();
    ExpectNextRunToSucceed(L"");
    EXPECT_TRUE(before.Changed(nothing));
}

INSTANTIATE_TEST_SUITE_P(ByRoute, TracedFault, testing::ValuesIn(routes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
