#pragma once

#include <string>
#include <string_view>
#include <vector>

// The results of a suite of tests from what its program printed (GoogleTest's usual output).
namespace keyreap {

struct TestResult {
    std::string name;
    bool hasPassed = false;
    std::vector<std::string> lines; // of the failures
};

struct SuiteResults {
    std::vector<TestResult> tests; // in the order of their ends
    std::string unfinished;        // the test that was running when the program ended
    bool isComplete = false;       // the output has the sum at its end
};

// Reads the output. What a test prints about its failures may contain paths and the names of keys of the
// machine that it ran on. So of these lines only those are kept that are the suite's own: `program` is the
// content of the program's file, and a line is its own if it is a whole text in the program, a place in a
// source, or the value of a number.
SuiteResults ReadTestOutput(std::string_view output, std::string_view program);

} // namespace keyreap
