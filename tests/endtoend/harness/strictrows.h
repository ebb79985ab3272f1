#pragma once

#include <optional>
#include <string>
#include <vector>

namespace keyreap::endtoend {

// What a row of tests/endtoend/strict.txt says about a result at a strict host, compared with the usual one.
struct StrictRow {
    enum class Kind {
        moreKey,     // the file has this key in addition
        maybeKey,    // the same, but not each time
        moreValue,   // the file has this value in addition, in a key that it has anyway
        lessKey,     // the file lacks this key
        movedKey,    // the file has the key under another name
        moreChange,  // the registry changes there in some of the tests
        maybeChange, // the same, but not each time that they run
        lessChange   // this change of the registry doesn't happen
    };

    std::wstring tests; // Suite.Name/parameter; see IsFor
    std::wstring rule;
    std::wstring file; // of the result; empty for any
    Kind kind = Kind::moreKey;
    std::wstring key; // or a line of changes
    std::wstring value;
    std::wstring newKey;
    // Of a key that the file has in addition: all of its lines. Where they aren't listed, any but a filler.
    std::optional<std::wstring> lines;
};

// Whether a text is as the pattern says, in which each * stands for any text.
bool Matches(const std::wstring& pattern, const std::wstring& text);

// Whether a row is for a test: one of its patterns, which commas separate, matches, and none that begins with
// a -.
bool IsFor(const StrictRow& row, const std::wstring& test);

// The rows of such a text. What is wrong with a line is added to `wrong`.
std::vector<StrictRow> ParseStrictRows(const std::wstring& text, std::wstring& wrong);

// What one row does to a result and to what is expected, so that they become equal. Both are lists of keys
// with their values as a .reg file has them. False if the row doesn't apply.
bool Apply(const StrictRow& row, std::vector<std::wstring>& actual, std::vector<std::wstring>& expected);

} // namespace keyreap::endtoend
