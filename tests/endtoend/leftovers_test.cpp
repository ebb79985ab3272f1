#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

using Lines = std::vector<std::wstring>;

// What a first run leaves of the temporary tree when its target wrote nothing.
const Lines skeleton = {
    L"+ HKCU\\Software\\Velmoro",
    L"+ HKCU\\Software\\Velmoro\\Tesselink",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKCR",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKCU",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKLM",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKLM\\Software",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKLM\\Software\\Classes",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKU",
};

// What stays after every later run.
const Lines productAlone = {L"+ HKCU\\Software\\Velmoro", L"+ HKCU\\Software\\Velmoro\\Tesselink"};

// Parameterised by the build that runs; the same holds in both.
class Leftovers : public Workbench, public testing::WithParamInterface<Bitness> {
protected:
    DWORD CaptureOf(const std::wstring& name) const {
        return Capture(GetParam(), Sample(GetParam(), name), Work(L"out.reg"));
    }
    // The keys that the program has for itself in the registry, in the words of a machine's differences.
    static Lines OwnKeys() {
        Lines keys;
        for (const auto& [path, values] : ReadTree(HKEY_CURRENT_USER, L"Software\\Velmoro")) {
            keys.push_back(L"+ HKCU\\Software\\Velmoro" + (path.empty() ? path : L"\\" + path));
        }
        return keys;
    }
};

Lines With(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST_P(Leftovers, OfThreeRunsAreTheTreeOfTheFirstAndThenTheProductKeyAlone) {
    const MachineState before;
    EXPECT_EQ(CaptureOf(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(before.Changes(),
              With(skeleton, {L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKCR\\Keyreap.Plain"}));
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, std::wstring(temporaryKey) + L"\\HKCR"),
              (RegistryTree{{L"", {}}, {L"Keyreap.Plain", {{L"", TextValue(L"plain")}}}}));
    EXPECT_EQ(TemporaryFiles(), Lines());

    EXPECT_EQ(CaptureOf(L"failing.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("failing.reg")));
    EXPECT_EQ(before.Changes(), productAlone);
    EXPECT_EQ(TemporaryFiles(), Lines());

    EXPECT_EQ(CaptureOf(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(before.Changes(), productAlone);
    EXPECT_EQ(TemporaryFiles(), Lines());
}

TEST_P(Leftovers, OfTwoPairsInOneFirstRunAreTheProductKeyAlone) {
    const std::wstring pairs = Pair(Sample(GetParam(), L"plain.dll"), Work(L"a.reg")) + L" " +
                               Pair(Sample(GetParam(), L"failing.dll"), Work(L"b.reg"));
    EXPECT_EQ(RunKeyreap(GetParam(), L"extreg " + pairs + L" keyRedir"), 0U);
    EXPECT_TRUE(Holds(Work(L"b.reg"), Golden("failing.reg")));
    EXPECT_EQ(OwnKeys(), productAlone);
    EXPECT_EQ(TemporaryFiles(), Lines());
}

TEST_P(Leftovers, OfAFirstRunThatFailsAreTheTreeAllTheSame) {
    EXPECT_EQ(CaptureOf(L"orphan.dll"), statusFailed);
    EXPECT_EQ(OwnKeys(), skeleton);
    EXPECT_EQ(CaptureOf(L"orphan.dll"), statusFailed);
    EXPECT_EQ(OwnKeys(), productAlone);
    EXPECT_EQ(TemporaryFiles(), Lines());
}

// A run that is killed while its target is half-way through.
class CrashedRun : public Leftovers {
protected:
    void Crash() const {
        const SharedEvent reached(L"KeyreapPausing.Reached");
        RunningProgram program(Quoted(Keyreap(GetParam())) + L" extreg " +
                               Pair(Sample(GetParam(), L"pausing.dll"), Work(L"crashed.reg")) + L" keyRedir");
        reached.Wait();
        program.Kill();
    }
    void PutValue(const std::wstring& hive, const std::wstring& name, const std::wstring& text) const {
        SetText(HKEY_CURRENT_USER, std::wstring(temporaryKey) + L"\\" + hive, name, text);
    }
};

const Lines halfWritten = {
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKCR\\Keyreap.Pausing",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKCU\\Software",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKCU\\Software\\KeyreapPausing",
    L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKLM\\Software\\KeyreapPausing",
};

TEST_P(CrashedRun, LeavesItsTreeAndTheNextRunsAreAsGoodAsEver) {
    const MachineState before;
    Crash();
    EXPECT_FALSE(Exists(Work(L"crashed.reg")));
    EXPECT_EQ(before.Changes(), With(skeleton, halfWritten));
    EXPECT_EQ(TemporaryFiles(), Lines());

    EXPECT_EQ(CaptureOf(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(before.Changes(), productAlone);
    EXPECT_EQ(TemporaryFiles(), Lines());

    Crash();
    EXPECT_EQ(OwnKeys(), With(skeleton, halfWritten));
    EXPECT_EQ(CaptureOf(L"orphan.dll"), statusFailed);
    EXPECT_EQ(OwnKeys(), productAlone);
}

TEST_P(CrashedRun, LeavesValuesOnTheRootsThatShowInTheNextResult) {
    Crash();
    PutValue(L"HKCR", L"", L"stale");
    PutValue(L"HKCU", L"name", L"C:\\stale");
    PutValue(L"HKU", L"a", L"1");
    PutValue(L"HKU", L"b", L"2");
    PutValue(L"HKLM", L"", L"stale");
    PutValue(L"HKLM\\Software", L"", L"goes with its key");
    PutValue(L"", L"", L"is no hive");
    EXPECT_EQ(CaptureOf(L"silent.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Document(L"\r\n[HKEY_CLASSES_ROOT]\r\n@=\"stale\"\r\n"
                                                 L"\r\n[HKEY_CURRENT_USER]\r\n\"name\"=\"C:\\\\stale\"\r\n"
                                                 L"\r\n[HKEY_USERS]\r\n\"a\"=\"1\"\r\n\"b\"=\"2\"\r\n"
                                                 L"\r\n[HKEY_LOCAL_MACHINE]\r\n@=\"stale\"\r\n"
                                                 L"\r\n[HKEY_LOCAL_MACHINE\\Software]\r\n"
                                                 L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Classes]\r\n")));
    EXPECT_EQ(OwnKeys(), productAlone);
}

TEST_P(CrashedRun, ThatIsLetGoOnInsteadHoldsAllThatItsTargetWrote) {
    SharedEvent goOn(L"KeyreapPausing.GoOn");
    goOn.Set();
    EXPECT_EQ(CaptureOf(L"pausing.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("pausing.reg")));
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, Leftovers, testing::Values(Bitness::x64, Bitness::x86), NameOfBuild);
INSTANTIATE_TEST_SUITE_P(InBothBuilds, CrashedRun, testing::Values(Bitness::x64, Bitness::x86), NameOfBuild);

} // namespace

} // namespace keyreap::endtoend
