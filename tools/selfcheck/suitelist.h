#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// A line of a list: columns between tabs. Empty lines and those that begin with # don't count.
std::vector<std::vector<std::string>> ReadTable(std::string_view text);

// A suite of tests in the list of all suites: its name, such as x64/unit_core.
struct ListedSuite {
    std::string name;
    bool isRun = false;
    std::string leftOut; // a filter of GoogleTest for tests that are not run; empty if all are
    std::string reason;  // why the suite, or what is left out, is not run
};

// Reads the list. A line is a name, "run" or "not run", a reason, and the filter if only a part is not run.
std::vector<ListedSuite> ReadSuites(std::string_view text);

// A sample server and the golden files of its captures.
struct ListedCapture {
    std::string file;
    std::vector<std::string> golden; // of the modes keyRedir, trace and both; empty if there is none
};

// Reads the list. "-" is an empty column, and {} in a name is the bitness.
std::vector<ListedCapture> ReadCaptures(std::string_view text, std::string_view bitness);

// True for every step-th of a list, beginning with the first.
constexpr bool IsInSample(std::size_t index, std::size_t step) {
    return index % step == 0;
}

} // namespace keyreap
