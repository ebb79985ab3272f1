// Redirected servers that name a view of the registry below HKEY_CLASSES_ROOT, as the system's type library
// loader does for each interface. In both modes that redirect, all views are one tree.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/tracedsession.h"

namespace keyreap::endtoend {

namespace {

const std::wstring classesOfEachView[] = {L"Software\\Classes\\", L"Software\\Classes\\Wow6432Node\\"};

class RedirectedViews : public TracedSession {
protected:
    // Captures a file that carries the samples' type library, in both modes, and compares the results with
    // the golden files.
    void ExpectLibraryOnce(const std::wstring& file, const std::string& golden) const {
        const Placeholders paths = PathsOf(Target(file));
        ExpectCapture(file, L"keyRedir", Golden(OwnGolden(golden), paths));
        ExpectCapture(file, L"both", Golden(OwnGolden(golden + "-traced"), paths));
    }
};

TEST_P(RedirectedViews, AreOneTreeWhateverViewIsNamed) {
    ExpectCapture(L"everyview.dll", L"keyRedir", Golden("everyview.reg"));
    ExpectCapture(L"everyview.dll", L"both", Golden("everyview-traced.reg"));
}

TEST_P(RedirectedViews, GiveATypeLibrarysInterfaceOnceAndLeaveTheRegistryAlone) {
    ExpectLibraryOnce(L"calculator.dll", "calculator");
    ExpectLibraryOnce(L"exportingorphan.exe", "library_alone");
}

TEST_P(RedirectedViews, GiveATypeLibraryThatIsRegisteredAlreadyOnceAndKeepWhatWasThere) {
    for (const std::wstring& classes : classesOfEachView) {
        const std::wstring key = classes + calculatorInterface;
        SetText(HKEY_LOCAL_MACHINE, key, L"", L"ICalculator of before");
        SetText(HKEY_LOCAL_MACHINE, key, L"own value", L"stays");
        SetText(HKEY_LOCAL_MACHINE, key + L"\\ProxyStubClsid32", L"", L"{another proxy}");
        SetText(HKEY_LOCAL_MACHINE, key + L"\\TypeLib", L"Version", L"0.9");
    }
    ExpectLibraryOnce(L"calculator.dll", "calculator");
}

TEST_P(RedirectedViews, GiveTwoPairsOfOneTypeLibraryTheSameResult) {
    const std::wstring pairs = L"extreg " + Pair(Target(L"calculator.dll"), Work(L"a.reg")) + L" " +
                               Pair(Target(L"calculator.dll"), Work(L"b.reg"));
    const Placeholders paths = PathsOf(Target(L"calculator.dll"));
    const SavedRegistry before;
    for (const auto& [mode, golden] :
         {std::pair{L" keyRedir", "calculator"}, {L" both", "calculator-traced"}}) {
        EXPECT_EQ(RunKeyreap(GetParam().program, pairs + mode), 0U) << mode;
        for (const wchar_t* file : {L"a.reg", L"b.reg"}) {
            EXPECT_TRUE(Holds(Work(file), Golden(OwnGolden(golden), paths))) << mode << file;
        }
    }
    EXPECT_TRUE(before.Changed(nothing));
}

INSTANTIATE_TEST_SUITE_P(ByRoute, RedirectedViews, testing::ValuesIn(routes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
