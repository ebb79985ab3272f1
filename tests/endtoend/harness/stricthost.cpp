#include "tests/endtoend/harness/stricthost.h"

#include "tests/endtoend/harness/process.h"
#include "tests/endtoend/harness/settings.h"
#include "tests/endtoend/harness/strictrows.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace keyreap::endtoend {

namespace {

using Texts = std::vector<std::wstring>;

constexpr wchar_t loggerName[] = L"NT Kernel Logger";

// The rows, and what of them has occurred: in the current test, and in any test of this program.
struct Table {
    std::vector<StrictRow> rows;
    std::set<std::size_t> inTest;
    std::set<std::size_t> inProgram;
    std::set<std::size_t> ofTestsThatRan;
    bool comparedAFile = false; // in the current test
};

std::wstring TableText() {
    const Bytes bytes = ReadBytes(ParentOf(TestSettings().golden) + L"\\strict.txt").value_or(Bytes());
    EXPECT_FALSE(bytes.empty()) << "There is no table of what differs at a strict host.";
    return {bytes.begin(), bytes.end()};
}

Table ReadTable() {
    Table table;
    std::wstring wrong;
    if (HostIsStrict()) {
        table.rows = ParseStrictRows(TableText(), wrong);
    }
    EXPECT_EQ(wrong, L"") << "These lines of strict.txt are not of its form, or have no rule.";
    return table;
}

Table& TheTable() {
    static Table table = ReadTable();
    return table;
}

bool IsOfRegistry(const StrictRow& row) {
    return row.kind == StrictRow::Kind::moreChange || row.kind == StrictRow::Kind::maybeChange ||
           row.kind == StrictRow::Kind::lessChange;
}

// Whether the difference has to occur in each of its tests, or only in one of them.
bool OccursInEach(const StrictRow& row) {
    return row.kind != StrictRow::Kind::maybeKey && !IsOfRegistry(row);
}
bool OccursInSome(const StrictRow& row) {
    return row.kind == StrictRow::Kind::moreChange || row.kind == StrictRow::Kind::lessChange;
}

// Without the name of the instantiation.
std::wstring CurrentTest() {
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = test ? std::string(test->test_suite_name()) + "." + test->name() : std::string();
    if (const std::size_t end = name.find('/'); end < name.find('.')) {
        name.erase(0, end + 1);
    }
    return {name.begin(), name.end()};
}

bool IsForCurrentTest(const StrictRow& row) {
    return IsFor(row, CurrentTest());
}

// The text up to the first key, then each key with its values.
Texts BlocksOf(const std::wstring& text) {
    Texts blocks;
    const std::wstring begin = L"\r\n[";
    for (std::size_t at = 0; at != std::wstring::npos;) {
        const std::size_t next = text.find(begin, at + 1);
        blocks.push_back(text.substr(at, next - at));
        at = next;
    }
    return blocks;
}

// The texts that others lack, with a sign.
std::string ListOf(const char* sign, const Texts& texts, const Texts& others) {
    std::string list;
    for (const std::wstring& text : texts) {
        if (std::ranges::find(others, text) == others.end()) {
            list += std::string(sign) + testing::PrintToString(text) + "\n";
        }
    }
    return list;
}

void HaveOccurred(const std::set<std::size_t>& rows) {
    TheTable().inTest.insert(rows.begin(), rows.end());
    TheTable().inProgram.insert(rows.begin(), rows.end());
}

std::wstring ToolPath() {
    wchar_t path[MAX_PATH + 1] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return ParentOf(ParentOf(path)) + L"\\tools\\loggerstop.exe";
}

} // namespace

bool HostIsStrict() {
    return !TestSettings().host.empty();
}

bool LoggerIsLeftRunning() {
    wchar_t folder[MAX_PATH + 1] = {};
    GetSystemWindowsDirectoryW(folder, MAX_PATH);
    return Exists(std::wstring(folder) + L"\\keyreap-session " + loggerName + L".txt");
}

void StopLeftLogger() {
    if (LoggerIsLeftRunning()) {
        EXPECT_EQ(RunLine(Quoted(ToolPath()) + L" " + Quoted(loggerName)), 0U);
    }
}

testing::AssertionResult DifferAsListed(const std::wstring& file, const std::wstring& actual,
                                        const std::wstring& expected) {
    Texts actualBlocks = BlocksOf(actual);
    Texts expectedBlocks = BlocksOf(expected);
    std::set<std::size_t> occurred;
    const std::vector<StrictRow>& rows = TheTable().rows;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const bool applies = !IsOfRegistry(rows[i]) && IsForCurrentTest(rows[i]) &&
                             (rows[i].file.empty() || rows[i].file == NameOf(file));
        if (applies && Apply(rows[i], actualBlocks, expectedBlocks)) {
            occurred.insert(i);
        }
    }
    if (actualBlocks != expectedBlocks) {
        return testing::AssertionFailure()
               << ListOf("+", actualBlocks, expectedBlocks) << ListOf("-", expectedBlocks, actualBlocks);
    }
    HaveOccurred(occurred);
    TheTable().comparedAFile = true;
    return testing::AssertionSuccess();
}

void DropListedChanges(Texts& actual, Texts& expected) {
    std::set<std::size_t> occurred;
    const std::vector<StrictRow>& rows = TheTable().rows;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (IsOfRegistry(rows[i]) && IsForCurrentTest(rows[i]) && Apply(rows[i], actual, expected)) {
            occurred.insert(i);
        }
    }
    HaveOccurred(occurred);
}

void ExpectListedDifferences() {
    Table& table = TheTable();
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        const StrictRow& row = table.rows[i];
        if (!IsForCurrentTest(row)) {
            continue;
        }
        table.ofTestsThatRan.insert(i);
        EXPECT_TRUE(!table.comparedAFile || !OccursInEach(row) || table.inTest.contains(i))
            << "Listed and not in the result: " << row.rule << ' ' << row.key << ' ' << row.value;
    }
    table.inTest.clear();
    table.comparedAFile = false;
}

std::wstring MissingChanges() {
    const Table& table = TheTable();
    std::wstring missing;
    for (const std::size_t i : table.ofTestsThatRan) {
        if (!table.inProgram.contains(i) && OccursInSome(table.rows[i])) {
            missing += table.rows[i].tests + L" " + table.rows[i].rule + L" " + table.rows[i].key + L"\n";
        }
    }
    return missing;
}

} // namespace keyreap::endtoend
