// Servers that are loaded and register themselves, captured by trace: they write to the live registry, and
// nothing of it is left there.
#include <algorithm>
#include <cstring>

#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/tracedsession.h"

namespace keyreap::endtoend {

namespace {

// The keys of a file with what stands below them, in an order of their own. The default mode collects the
// keys by where they were redirected to, and the order of these places has no meaning.
std::vector<std::wstring> SortedKeys(const std::wstring& text) {
    std::vector<std::wstring> keys;
    const std::wstring begin = L"\r\n[HKEY_";
    for (std::size_t at = 0; at != std::wstring::npos;) {
        const std::size_t next = text.find(begin, at + 1);
        keys.push_back(text.substr(at, next - at));
        at = next;
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

class TracedServer : public TracedSession {
protected:
    // Captures a sample twice and holds both results to the golden file.
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
        EXPECT_EQ(before.Changes(), nothing) << sample;
    }
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(TracedServer, GivesEveryTypeOfValueInEveryRootAndSize) {
    const SavedRegistry before;
    ExpectTwice("everytype", "everytype-traced.reg");
    EXPECT_EQ(before.Changes(), nothing);
}

TEST_P(TracedServer, WithATypeLibraryLeavesOnlyTheInterfaceOfTheOtherView) {
    const SavedRegistry before;
    ExpectTwice("calculator", OwnGolden("calculator-traced"), PathsOf(Target(L"calculator.dll")));
    EXPECT_EQ(before.Changes(), InterfaceOfTheOtherView());
}

TEST_P(TracedServer, InTheDefaultModeGivesTheSameKeysAndIsNeverInTheRegistry) {
    for (const char* sample : {"plain", "peruser", "texts", "names", "keys", "everytype", "pausing"}) {
        const std::wstring file = std::wstring(sample, sample + std::strlen(sample)) + L".dll";
        SharedEvent goOn(L"KeyreapPausing.GoOn");
        goOn.Set();
        ASSERT_TRUE(WriteBytes(Work(L"expected.reg"), Golden(std::string(sample) + "-traced.reg")));
        const SavedRegistry before;
        EXPECT_EQ(Trace(file, L""), 0U) << sample;
        EXPECT_TRUE(SortedKeys(ReadUnits(Work(L"out.reg"))) == SortedKeys(ReadUnits(Work(L"expected.reg"))))
            << sample;
        EXPECT_EQ(before.Changes(), nothing) << sample;
    }
}

// Wine redirects HKEY_CLASSES_ROOT, but not its other view. What the system writes there for a type library
// is seen and folded into the view of the server, where nothing is found: the key comes a second time, with
// fillers.
TEST_P(TracedServer, WithATypeLibraryHasFillersForTheOtherViewInTheDefaultMode) {
    const std::wstring key = L"\r\n[HKEY_CLASSES_ROOT\\" + std::wstring(calculatorsInterface);
    const std::wstring filler = L"=\"" + std::wstring(10, L'\x5555') + L"\"\r\n";
    std::vector<std::wstring> expected = {key + L"]\r\n@" + filler, key + L"\\ProxyStubClsid]\r\n@" + filler,
                                          key + L"\\ProxyStubClsid32]\r\n@" + filler,
                                          key + L"\\TypeLib]\r\n@" + filler + L"\"Version\"" + filler};
    const std::wstring server = Target(L"calculator.dll");
    ASSERT_TRUE(WriteBytes(Work(L"traced.reg"), Golden(OwnGolden("calculator-traced"), PathsOf(server))));
    for (const std::wstring& traced : SortedKeys(ReadUnits(Work(L"traced.reg")))) {
        expected.push_back(traced);
    }
    std::sort(expected.begin(), expected.end());
    const SavedRegistry before;
    EXPECT_EQ(Trace(L"calculator.dll", L"both"), 0U);
    EXPECT_EQ(SortedKeys(ReadUnits(Work(L"out.reg"))), expected);
    EXPECT_EQ(before.Changes(), InterfaceOfTheOtherView());
}

TEST_P(TracedServer, ThatWritesNothingGivesTheHeaderAlone) {
    const SavedRegistry before;
    EXPECT_EQ(Trace(L"silent.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Document(L"")));
    EXPECT_EQ(before.Changes(), nothing);
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

// The trace of one pair must not know the one before.
TEST_P(TracedServer, BehindAnotherInOneRunGivesItsOwnAlone) {
    const std::wstring pairs = Pair(Target(L"keys.dll"), Work(L"a.reg")) + L" " +
                               Pair(Target(L"writing.exe"), Work(L"b.reg")) + L" " +
                               Pair(Target(L"plain.dll"), Work(L"c.reg"));
    const SavedRegistry before;
    EXPECT_EQ(RunKeyreap(GetParam().program, L"extreg " + pairs + L" trace"), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("keys-traced.reg")));
    EXPECT_TRUE(Holds(Work(L"b.reg"), Golden("writing-traced.reg", {{L"{MODULE}", Target(L"writing.exe")}})));
    EXPECT_TRUE(Holds(Work(L"c.reg"), Golden("plain-traced.reg")));
    EXPECT_EQ(before.Changes(), nothing);
}

INSTANTIATE_TEST_SUITE_P(ByRoute, TracedServer, testing::ValuesIn(routes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
