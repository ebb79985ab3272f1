#include "kit/programwords.h"

#include <cstddef>

namespace keyreap {

namespace {

// Backslashes are doubled ahead of a quotation mark, and stay as they are elsewhere.
std::wstring Quoted(std::wstring_view word) {
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : word) {
        if (unit == L'"') {
            quoted.append(backslashes + 1, L'\\');
        }
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        quoted += unit;
    }
    return quoted.append(backslashes, L'\\') + L'"';
}

} // namespace

std::wstring CommandLineOf(const std::vector<std::wstring>& words) {
    std::wstring line;
    for (const std::wstring& word : words) {
        line += (line.empty() ? L"" : L" ") + Quoted(word);
    }
    return line;
}

} // namespace keyreap
