#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

// The temporary tree after a first run whose target wrote nothing.
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

// The keys after every later run.
const Lines productKeyOnly = {L"+ HKCU\\Software\\Velmoro", L"+ HKCU\\Software\\Velmoro\\Tesselink"};

class Leftovers : public Workbench, public testing::WithParamInterface<Bitness> {
protected:
    DWORD CaptureOf(const std::wstring& name) const {
        return Capture(GetParam(), Sample(GetParam(), name), Work(L"out.reg"));
    }
    // The program's own keys in the registry, in the form of MachineState::Changes.
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

TEST_P(Leftovers, OfThreeRunsAreTheTreeOfTheFirstAndThenOnlyTheProductKey) {
    const MachineState before;
    EXPECT_EQ(CaptureOf(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(before.Changes(),
              With(skeleton, {L"+ HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKCR\\Keyreap.Plain"}));
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, std::wstring(temporaryKey) + L"\\HKCR"),
              (RegistryTree{{L"", {}}, {L"Keyreap.Plain", {{L"", TextValue(L"plain")}}}}));
    EXPECT_EQ(TemporaryFiles(), nothing);

    EXPECT_EQ(CaptureOf(L"failing.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("failing.reg")));
    EXPECT_EQ(before.Changes(), productKeyOnly);
    EXPECT_EQ(TemporaryFiles(), nothing);

    EXPECT_EQ(CaptureOf(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(before.Changes(), productKeyOnly);
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(Leftovers, OfTwoPairsInOneFirstRunAreOnlyTheProductKey) {
    const std::wstring pairs = Pair(Sample(GetParam(), L"plain.dll"), Work(L"a.reg")) + L" " +
                               Pair(Sample(GetParam(), L"failing.dll"), Work(L"b.reg"));
    EXPECT_EQ(RunKeyreap(GetParam(), L"extreg " + pairs + L" keyRedir"), 0U);
    EXPECT_TRUE(Holds(Work(L"b.reg"), Golden("failing.reg")));
    EXPECT_EQ(OwnKeys(), productKeyOnly);
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(Leftovers, OfAFirstRunThatFailsAreTheTreeAsWell) {
    EXPECT_EQ(CaptureOf(L"orphan.dll"), statusFailed);
    EXPECT_EQ(OwnKeys(), skeleton);
    EXPECT_EQ(CaptureOf(L"orphan.dll"), statusFailed);
    EXPECT_EQ(OwnKeys(), productKeyOnly);
    EXPECT_EQ(TemporaryFiles(), nothing);
}

// A run that is killed when its target has written half of its entries.
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

TEST_P(CrashedRun, LeavesItsTreeAndDoesNotDisturbLaterRuns) {
    const MachineState before;
    Crash();
    EXPECT_FALSE(Exists(Work(L"crashed.reg")));
    EXPECT_EQ(before.Changes(), With(skeleton, halfWritten));
    EXPECT_EQ(TemporaryFiles(), nothing);

    EXPECT_EQ(CaptureOf(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(before.Changes(), productKeyOnly);
    EXPECT_EQ(TemporaryFiles(), nothing);

    Crash();
    EXPECT_EQ(OwnKeys(), With(skeleton, halfWritten));
    EXPECT_EQ(CaptureOf(L"orphan.dll"), statusFailed);
    EXPECT_EQ(OwnKeys(), productKeyOnly);
}

TEST_P(CrashedRun, LeavesValuesOnTheRootsThatAppearInTheNextResult) {
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
    EXPECT_EQ(OwnKeys(), productKeyOnly);
}

TEST_P(CrashedRun, ThatMayContinueInsteadGivesAllThatItsTargetWrote) {
    SharedEvent goOn(L"KeyreapPausing.GoOn");
    goOn.Set();
    EXPECT_EQ(CaptureOf(L"pausing.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("pausing.reg")));
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, Leftovers, testing::ValuesIn(bothBuilds), NameOfBuild);
INSTANTIATE_TEST_SUITE_P(InBothBuilds, CrashedRun, testing::ValuesIn(bothBuilds), NameOfBuild);

} // namespace

} // namespace keyreap::endtoend
