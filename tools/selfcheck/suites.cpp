#include "tools/selfcheck/suites.h"

#include "tools/selfcheck/childprogram.h"
#include "tools/selfcheck/suitelist.h"
#include "tools/selfcheck/testoutput.h"

#include <windows.h>

#include <algorithm>
#include <iostream>

namespace keyreap {

namespace {

constexpr DWORD longestSuite = 1'800'000;

void SetVariable(const wchar_t* name, const std::wstring& value) {
    SetEnvironmentVariableW(name, value.c_str());
}

bool HasVariable(const wchar_t* name) {
    return GetEnvironmentVariableW(name, nullptr, 0) != 0;
}

// The share of the tests is a folder that is also reached by the drive's administrative share, unless the
// caller names another one.
void SetShare(const std::filesystem::path& folder) {
    if (HasVariable(L"KEYREAP_SHARE_UNC") && HasVariable(L"KEYREAP_SHARE_LOCAL")) {
        return;
    }
    std::filesystem::create_directories(folder);
    std::wstring share = folder.wstring();
    SetVariable(L"KEYREAP_SHARE_LOCAL", share);
    share[1] = L'$';
    SetVariable(L"KEYREAP_SHARE_UNC", L"\\\\localhost\\" + share);
}

// What the suites of whole programs are run with.
void SetVariables(const Places& places) {
    SetVariable(L"KEYREAP_STAGE", places.programs.wstring());
    SetVariable(L"KEYREAP_SAMPLES", places.samples.wstring());
    SetVariable(L"KEYREAP_GOLDEN", places.golden.wstring());
    SetVariable(L"KEYREAP_SAMPLE", L"10"); // of suites with very many cases
    SetShare(places.results / "share");
}

std::size_t Passed(const SuiteResults& results) {
    const auto hasPassed = [](const TestResult& test) { return test.hasPassed; };
    return static_cast<std::size_t>(std::count_if(results.tests.begin(), results.tests.end(), hasPassed));
}

class Checker {
public:
    explicit Checker(const Places& places) : places(places) { part.name = "suites.txt"; }

    void Run(const ListedSuite& suite) {
        std::cout << "    " << suite.name << std::endl;
        const std::filesystem::path program = places.tests / (suite.name + ".exe");
        const std::filesystem::path output = places.logs / (FlatName(suite.name) + ".txt");
        std::wstring line = Quoted(program) + L" --gtest_color=no";
        if (!suite.leftOut.empty()) {
            line += L" --gtest_filter=-" + std::wstring(suite.leftOut.begin(), suite.leftOut.end());
        }
        const ChildEnd end = RunChild(line, output, longestSuite);
        Report(suite, end, ReadTestOutput(ContentOf(output), ContentOf(program)));
    }
    void LeaveOut(const ListedSuite& suite, const std::string& reason) {
        part.Add("not run " + suite.name + ": " + reason);
    }
    const ReportPart& Part() const { return part; }

private:
    static std::string FlatName(std::string name) {
        std::replace(name.begin(), name.end(), '/', '_');
        return name;
    }

    void Report(const ListedSuite& suite, const ChildEnd& end, const SuiteResults& results) {
        const std::size_t passed = Passed(results);
        const bool isAsExpected =
            end.status == DWORD{0} && results.isComplete && passed == results.tests.size() && passed > 0;
        part.AddTried(isAsExpected, suite.name + ": " + std::to_string(passed) + " passed, " +
                                        std::to_string(results.tests.size() - passed) + " failed, " +
                                        EndText(end));
        if (!suite.leftOut.empty()) {
            part.Add("    not run " + suite.leftOut + ": " + suite.reason);
        }
        if (!results.unfinished.empty()) {
            part.Add("    ended while running " + results.unfinished);
        }
        for (const TestResult& test : results.tests) {
            if (!test.hasPassed) {
                part.Add("    failed " + test.name);
                part.AddIndented(test.lines);
            }
        }
    }

    const Places& places;
    ReportPart part;
};

} // namespace

ReportPart CheckSuites(const Places& places, std::size_t step) {
    SetVariables(places);
    Checker checker(places);
    std::size_t index = 0;
    for (const ListedSuite& suite : ReadSuites(ContentOf(places.folder / "suites.txt"))) {
        if (!suite.isRun) {
            checker.LeaveOut(suite, suite.reason);
        } else if (IsInSample(index++, step)) {
            checker.Run(suite);
        } else {
            checker.LeaveOut(suite, "not in the sample of this run");
        }
    }
    return checker.Part();
}

} // namespace keyreap
