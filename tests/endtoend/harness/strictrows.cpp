#include "tests/endtoend/harness/strictrows.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace keyreap::endtoend {

namespace {

constexpr wchar_t columnGap[] = L"  ";
constexpr wchar_t arrow[] = L" => ";
constexpr wchar_t ruleWord[] = L"rule ";
constexpr wchar_t linesSign[] = L" =";
constexpr wchar_t lineGap[] = L", ";
constexpr wchar_t lineEnd[] = L"\r\n";

// What a file has for a value that could not be read back.
const std::wstring filler(10, L'\x5555');

using Blocks = std::vector<std::wstring>;

std::wstring Trimmed(const std::wstring& text) {
    const std::size_t begin = text.find_first_not_of(L' ');
    const std::size_t end = text.find_last_not_of(L' ');
    return begin == std::wstring::npos ? std::wstring() : text.substr(begin, end - begin + 1);
}

// Takes the text up to a separator off the front; all of it if there is none.
std::wstring Take(std::wstring& text, const std::wstring& separator) {
    const std::size_t end = text.find(separator);
    std::wstring taken = text.substr(0, end);
    text = end == std::wstring::npos ? std::wstring() : Trimmed(text.substr(end + separator.size()));
    return taken;
}

bool TakePrefix(std::wstring& text, const std::wstring& prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.erase(0, prefix.size());
    return true;
}

// The lines of a key as a file has them.
std::wstring LinesOf(std::wstring list) {
    std::wstring lines;
    while (!list.empty()) {
        lines += Take(list, lineGap) + lineEnd;
    }
    return lines;
}

void ParseMore(std::wstring entry, StrictRow& row) {
    if (const std::size_t sign = entry.find(linesSign); sign != std::wstring::npos) {
        row.key = Take(entry, linesSign);
        row.lines = LinesOf(entry);
        row.kind = StrictRow::Kind::moreKey;
        return;
    }
    row.key = Take(entry, L" \"");
    row.value = entry.empty() ? entry : L"\"" + entry;
    row.kind = row.value.empty() ? StrictRow::Kind::moreKey : StrictRow::Kind::moreValue;
}

bool ParseEntry(std::wstring entry, StrictRow& row) {
    if (entry.find(L".reg: ") != std::wstring::npos) {
        row.file = Take(entry, L": ");
    }
    if (TakePrefix(entry, L"+ ")) {
        ParseMore(entry, row);
    } else if (TakePrefix(entry, L"- ")) {
        row.key = entry;
        row.kind = StrictRow::Kind::lessKey;
    } else if (TakePrefix(entry, L"? change ")) {
        row.key = entry;
        row.kind = StrictRow::Kind::maybeChange;
    } else if (TakePrefix(entry, L"? ")) {
        row.key = entry;
        row.kind = StrictRow::Kind::maybeKey;
    } else if (TakePrefix(entry, L"change ")) {
        row.key = entry;
        row.kind = StrictRow::Kind::moreChange;
    } else if (TakePrefix(entry, L"no change ")) {
        row.key = entry;
        row.kind = StrictRow::Kind::lessChange;
    } else {
        row.key = Take(entry, arrow);
        row.newKey = entry;
        row.kind = StrictRow::Kind::movedKey;
        return !row.newKey.empty();
    }
    return !row.key.empty();
}

// The line that begins a key's part of a file.
std::wstring HeaderOf(const std::wstring& block) {
    const std::size_t begin = block.find(L'[');
    const std::size_t end = block.find(L"]\r\n");
    return begin == std::wstring::npos || end == std::wstring::npos
               ? std::wstring()
               : block.substr(begin + 1, end - begin - 1);
}

std::wstring WithHeader(const std::wstring& block, const std::wstring& key) {
    return L"\r\n[" + key + block.substr(block.find(L"]\r\n"));
}

bool HasListedLines(const StrictRow& row, const std::wstring& block) {
    return row.lines ? block == L"\r\n[" + HeaderOf(block) + L"]\r\n" + *row.lines
                     : block.find(filler) == std::wstring::npos;
}

bool EraseMoreKeys(const StrictRow& row, Blocks& actual, const Blocks& expected) {
    return std::erase_if(actual, [&](const std::wstring& block) {
               return Matches(row.key, HeaderOf(block)) && HasListedLines(row, block) &&
                      std::ranges::find(expected, block) == expected.end();
           }) != 0;
}

bool EraseMoreValue(const StrictRow& row, Blocks& actual) {
    const std::wstring begin = L"\r\n" + row.value + L"=";
    for (std::wstring& block : actual) {
        const std::size_t at = HeaderOf(block) == row.key ? block.find(begin) : std::wstring::npos;
        if (at != std::wstring::npos) {
            block.erase(at, block.find(L"\r\n", at + 2) - at);
            return true;
        }
    }
    return false;
}

bool EraseLessKeys(const std::wstring& key, Blocks& expected) {
    return std::erase_if(expected,
                         [&](const std::wstring& block) { return Matches(key, HeaderOf(block)); }) != 0;
}

bool EraseMovedKey(const StrictRow& row, Blocks& actual, Blocks& expected) {
    const auto old =
        std::ranges::find_if(expected, [&](const std::wstring& block) { return HeaderOf(block) == row.key; });
    if (old == expected.end()) {
        return false;
    }
    const auto moved = std::ranges::find(actual, WithHeader(*old, row.newKey));
    if (moved == actual.end()) {
        return false;
    }
    actual.erase(moved);
    expected.erase(old);
    return true;
}

} // namespace

bool Matches(const std::wstring& pattern, const std::wstring& text) {
    const std::size_t star = pattern.find(L'*');
    if (star == std::wstring::npos) {
        return pattern == text;
    }
    if (text.compare(0, star, pattern, 0, star) != 0) {
        return false;
    }
    const std::wstring rest = pattern.substr(star + 1);
    for (std::size_t at = star; at <= text.size(); ++at) {
        if (Matches(rest, text.substr(at))) {
            return true;
        }
    }
    return false;
}

bool IsFor(const StrictRow& row, const std::wstring& test) {
    bool found = false;
    for (std::wstring patterns = row.tests; !patterns.empty();) {
        std::wstring pattern = Take(patterns, L",");
        const bool excludes = TakePrefix(pattern, L"-");
        if (Matches(pattern, test)) {
            if (excludes) {
                return false;
            }
            found = true;
        }
    }
    return found;
}

std::vector<StrictRow> ParseStrictRows(const std::wstring& text, std::wstring& wrong) {
    std::vector<StrictRow> rows;
    std::set<std::wstring> rules;
    std::wistringstream lines(text);
    for (std::wstring line; std::getline(lines, line);) {
        if (line.empty() || line.starts_with(L"#") || line.starts_with(columnGap)) {
            continue;
        }
        if (std::wstring rule = line; TakePrefix(rule, ruleWord)) {
            rules.insert(Take(rule, L":"));
            continue;
        }
        std::wstring rest = line;
        StrictRow row;
        row.tests = Take(rest, columnGap);
        row.rule = Take(rest, columnGap);
        if (!rules.contains(row.rule) || !ParseEntry(rest, row)) {
            wrong += line + L"\n";
        }
        rows.push_back(row);
    }
    return rows;
}

bool Apply(const StrictRow& row, Blocks& actual, Blocks& expected) {
    switch (row.kind) {
    case StrictRow::Kind::moreKey:
    case StrictRow::Kind::maybeKey:
        return EraseMoreKeys(row, actual, expected);
    case StrictRow::Kind::moreValue:
        return EraseMoreValue(row, actual);
    case StrictRow::Kind::lessKey:
        return EraseLessKeys(row.key, expected);
    case StrictRow::Kind::movedKey:
        return EraseMovedKey(row, actual, expected);
    case StrictRow::Kind::moreChange:
    case StrictRow::Kind::maybeChange:
        return std::erase_if(actual, [&](const std::wstring& change) {
                   return change.size() > 2 && Matches(row.key, change.substr(2));
               }) != 0;
    case StrictRow::Kind::lessChange:
        return std::erase_if(expected,
                             [&](const std::wstring& change) { return Matches(row.key, change); }) != 0;
    }
    return false;
}

} // namespace keyreap::endtoend
