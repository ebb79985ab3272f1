// A target that faults ends the program with the fault's code.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/sharefolder.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

struct Fault {
    const char* name;
    DWORD statusOnX64;
    DWORD statusOnX86;
};

constexpr DWORD accessViolation = 0xC0000005;
constexpr DWORD divisionByZero = 0xC0000094;
constexpr DWORD illegalInstruction = 0xC000001D;
constexpr DWORD stackOverflow = 0xC00000FD;
constexpr DWORD exceptionOfTheCompiler = 0x20474343;
constexpr DWORD aborted = 3;

constexpr Fault faults[] = {
    {"ReadNull", accessViolation, accessViolation},
    {"WriteNull", accessViolation, accessViolation},
    {"ExecuteNull", accessViolation, accessViolation},
    {"ReadElsewhere", accessViolation, accessViolation},
    {"WriteElsewhere", accessViolation, accessViolation},
    {"ExecuteElsewhere", accessViolation, accessViolation},
    {"DivideByZero", divisionByZero, divisionByZero},
    {"IllegalInstruction", illegalInstruction, illegalInstruction},
    {"StackOverflow", stackOverflow, stackOverflow},
    {"Abort", aborted, aborted},
    // On x86 the target's run-time library ends the process before the system handles the exception.
    {"Throw", exceptionOfTheCompiler, aborted},
};

void PrintTo(const Fault& fault, std::ostream* stream) {
    *stream << fault.name;
}

class FaultingTarget : public Workbench, public testing::WithParamInterface<std::tuple<Fault, Route>> {
protected:
    const Fault& FaultOfTest() const { return std::get<0>(GetParam()); }
    const Route& RouteOfTest() const { return std::get<1>(GetParam()); }
    DWORD Status() const {
        return RouteOfTest().target == Bitness::x64 ? FaultOfTest().statusOnX64 : FaultOfTest().statusOnX86;
    }
    std::wstring Server() const {
        const std::string name = FaultOfTest().name;
        return Sample(RouteOfTest().target, L"fault" + std::wstring(name.begin(), name.end()) + L".dll");
    }
    DWORD CaptureOf(const std::wstring& file) const {
        return Capture(RouteOfTest().program, file, Work(L"out.reg"));
    }
};

const RegistryTree treeAfterTheFault = {
    {L"", {}},
    {L"Temporary", {}},
    {L"Temporary\\HKCR", {}},
    {L"Temporary\\HKCR\\Keyreap.Fault", {{L"", TextValue(L"written before the fault")}}},
    {L"Temporary\\HKCU", {}},
    {L"Temporary\\HKLM", {}},
    {L"Temporary\\HKLM\\Software", {}},
    {L"Temporary\\HKLM\\Software\\Classes", {}},
    {L"Temporary\\HKU", {}},
};

TEST_P(FaultingTarget, EndsTheProgramWithItsCodeAndDoesNotDisturbTheNextRun) {
    EXPECT_EQ(CaptureOf(Server()), Status());
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, productKey), treeAfterTheFault);
    EXPECT_EQ(TemporaryFiles(), nothing);

    EXPECT_EQ(CaptureOf(Sample(RouteOfTest().target, L"plain.dll")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, productKey), (RegistryTree{{L"", {}}}));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultingTarget,
                         testing::Combine(testing::ValuesIn(faults), testing::ValuesIn(routes)),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param).name) + "_" +
                                    std::get<1>(test.param).name;
                         });

class EndingTarget : public Workbench, public testing::WithParamInterface<Route> {};

TEST_P(EndingTarget, EndsTheRunWithItsOwnStatusAndWithoutAFileEvenIfThatIsZero) {
    const auto pairOf = [this](const wchar_t* sample, const wchar_t* output) {
        return Pair(Sample(GetParam().target, sample), Work(output));
    };
    const std::wstring pairs = pairOf(L"plain.dll", L"a.reg") + L" " +
                               pairOf(L"faultEndProcess.dll", L"b.reg") + L" " +
                               pairOf(L"plain.dll", L"c.reg");
    for (const wchar_t* mode : {L" keyRedir", L""}) {
        EXPECT_EQ(RunKeyreap(GetParam().program, L"extreg " + pairs + mode), 0U);
        EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
        EXPECT_EQ(RegFiles(), Lines{L"a.reg"});
    }
}

INSTANTIATE_TEST_SUITE_P(ByRoute, EndingTarget, testing::ValuesIn(routes), NameOfRoute);

class FaultOnAShare : public Workbench, public testing::WithParamInterface<Route> {
protected:
    DWORD CaptureOf(const std::wstring& sample) const {
        EXPECT_TRUE(Copy(Sample(GetParam().target, sample), share.Local(sample)));
        return Capture(GetParam().program, share.Unc(sample), Work(L"out.reg"));
    }

    ShareFolder share;
};

TEST_P(FaultOnAShare, LeavesTheCopyAndItsFolderWhichNoLaterRunRemoves) {
    EXPECT_EQ(CaptureOf(L"faultReadNull.dll"), accessViolation);
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, productKey), treeAfterTheFault);
    const Lines left = TemporaryFiles();
    ASSERT_EQ(left.size(), 2U);
    EXPECT_EQ(left[0].substr(0, 3), L"UNC");
    EXPECT_EQ(left[1], left[0] + L"faultReadNull.dll");

    EXPECT_EQ(CaptureOf(L"plain.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, productKey), (RegistryTree{{L"", {}}}));
    EXPECT_EQ(TemporaryFiles(), left);
}

INSTANTIATE_TEST_SUITE_P(ByRoute, FaultOnAShare, testing::ValuesIn(routes), NameOfRoute);

class FaultInAListOfPairs : public Workbench {};

TEST_F(FaultInAListOfPairs, KeepsEarlierOutputsAndSkipsLaterPairs) {
    const auto server = [](const wchar_t* name) { return Sample(Bitness::x64, name); };
    const std::wstring pairs = Pair(server(L"plain.dll"), Work(L"a.reg")) + L" " +
                               Pair(server(L"faultReadNull.dll"), Work(L"b.reg")) + L" " +
                               Pair(server(L"plain.dll"), Work(L"c.reg"));
    EXPECT_EQ(RunKeyreap(Bitness::x64, L"extreg " + pairs + L" keyRedir"), accessViolation);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
    EXPECT_EQ(RegFiles(), Lines{L"a.reg"});
}

} // namespace

} // namespace keyreap::endtoend
