// Servers that are loaded and register themselves, captured by trace: they write to the live registry, and
// the capture removes all of it.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/tracedsession.h"

namespace keyreap::endtoend {

namespace {

class TracedServer : public TracedSession {
protected:
    // Captures a sample twice and compares both results with the golden file.
    void ExpectTwice(const std::string& sample, const std::string& golden, const Placeholders& paths = {}) {
        for (const char* run : {"first", "second"}) {
            EXPECT_EQ(Trace(std::wstring(sample.begin(), sample.end()) + L".dll"), 0U) << sample << run;
            EXPECT_TRUE(Holds(Work(L"out.reg"), Golden(golden, paths))) << sample << ", " << run;
        }
    }
};

TEST_P(TracedServer, GivesTheSameBytesTwiceAndIsGoneFromTheRegistry) {
    for (const char* sample : {"plain", "peruser", "texts", "names", "keys", "lifetime"}) {
        const SavedRegistry before;
        ExpectTwice(sample, std::string(sample) + "-traced.reg");
        EXPECT_TRUE(before.Changed(nothing)) << sample;
    }
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(TracedServer, GivesEveryTypeOfValueInEveryRootAndSize) {
    const SavedRegistry before;
    ExpectTwice("everytype", "everytype-traced.reg");
    EXPECT_TRUE(before.Changed(nothing));
}

TEST_P(TracedServer, WithATypeLibraryLeavesOnlyTheInterfaceOfTheOtherView) {
    const SavedRegistry before;
    ExpectTwice("calculator", OwnGolden("calculator-traced"), PathsOf(Target(L"calculator.dll")));
    EXPECT_TRUE(before.Changed(InterfaceOfTheOtherView()));
}

TEST_P(TracedServer, ThatWritesNothingGivesOnlyTheHeader) {
    ExpectCapture(L"silent.dll", L"trace", Document(L""));
}

TEST_P(TracedServer, IsInTheLiveRegistryWhileItRegisters) {
    const SharedEvent reached(L"KeyreapPausing.Reached");
    SharedEvent goOn(L"KeyreapPausing.GoOn");
    RunningProgram run(Quoted(Keyreap(GetParam().program)) + L" extreg " +
                       Pair(Target(L"pausing.dll"), Work(L"out.reg")) + L" trace");
    reached.Wait();
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, L"Software\\KeyreapPausing"),
              (RegistryTree{{L"", {{L"", TextValue(L"half")}}}}));
    goOn.Set();
    EXPECT_EQ(run.Wait(), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("pausing-traced.reg")));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, L"Software\\KeyreapPausing"));
}

// The trace of one pair must not contain that of an earlier pair.
TEST_P(TracedServer, AfterAnotherInOneRunGivesOnlyItsOwnEntries) {
    const std::wstring pairs = Pair(Target(L"keys.dll"), Work(L"a.reg")) + L" " +
                               Pair(Target(L"writing.exe"), Work(L"b.reg")) + L" " +
                               Pair(Target(L"plain.dll"), Work(L"c.reg"));
    const SavedRegistry before;
    EXPECT_EQ(RunKeyreap(GetParam().program, L"extreg " + pairs + L" trace"), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("keys-traced.reg")));
    EXPECT_TRUE(Holds(Work(L"b.reg"), Golden("writing-traced.reg", PathsOf(Target(L"writing.exe")))));
    EXPECT_TRUE(Holds(Work(L"c.reg"), Golden("plain-traced.reg")));
    EXPECT_TRUE(before.Changed(nothing));
}

INSTANTIATE_TEST_SUITE_P(ByRoute, TracedServer, testing::ValuesIn(nativeRoutes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
