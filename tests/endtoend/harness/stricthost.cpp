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

// The rows, and by number those about the registry for tests that ran, and those that occurred in one of
// them.
struct Table {
    std::vector<StrictRow> rows;
    std::set<std::size_t> ofTestsThatRan;
    std::set<std::size_t> occurred;
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

// Every result of a redirection has the roots themselves, and none of a trace does. No trace is in it, so it
// has the usual bytes at every host.
bool IsOfRedirection(const std::wstring& expected) {
    return expected.find(L"\r\n[HKEY_CLASSES_ROOT]\r\n") != std::wstring::npos;
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
    std::wstring missing;
    for (const StrictRow& row : TheTable().rows) {
        const bool applies = !IsOfRegistry(row) && !IsOfRedirection(expected) && IsForCurrentTest(row) &&
                             (row.file.empty() || row.file == NameOf(file));
        if (applies && !Apply(row, actualBlocks, expectedBlocks) && row.kind != StrictRow::Kind::maybeKey) {
            missing += L"Listed and not in the file: " + row.rule + L' ' + row.key + L' ' + row.value + L'\n';
        }
    }
    if (actualBlocks != expectedBlocks || !missing.empty()) {
        return testing::AssertionFailure() << missing << ListOf("+", actualBlocks, expectedBlocks)
                                           << ListOf("-", expectedBlocks, actualBlocks);
    }
    return testing::AssertionSuccess();
}

void DropListedChanges(Texts& actual, Texts& expected) {
    Table& table = TheTable();
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        const StrictRow& row = table.rows[i];
        if (!IsOfRegistry(row) || !IsForCurrentTest(row)) {
            continue;
        }
        table.ofTestsThatRan.insert(i);
        if (Apply(row, actual, expected)) {
            table.occurred.insert(i);
        }
    }
}

std::wstring MissingChanges() {
    const Table& table = TheTable();
    std::wstring missing;
    for (const std::size_t i : table.ofTestsThatRan) {
        if (!table.occurred.contains(i) && table.rows[i].kind != StrictRow::Kind::maybeChange) {
            missing += table.rows[i].tests + L" " + table.rows[i].rule + L" " + table.rows[i].key + L"\n";
        }
    }
    return missing;
}

} // namespace keyreap::endtoend
