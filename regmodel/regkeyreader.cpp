#include "regmodel/regkeyreader.h"

#include <optional>
#include <string_view>

namespace keyreap {

namespace {

constexpr std::wstring_view blanks = L" \t";

// The place of the bracket that ends a key in a line. After it are only blanks or a comment.
std::optional<std::size_t> ClosingBracket(const RegSource& source, std::size_t at) {
    const std::wstring_view line = source.text.substr(at, EndOfLine(source, at) - at);
    const std::size_t last = line.find_last_not_of(blanks);
    if (last != std::wstring_view::npos && line[last] == L']') {
        return at + last;
    }
    for (std::size_t semicolon = line.find(L';'); semicolon != std::wstring_view::npos;
         semicolon = line.find(L';', semicolon + 1)) {
        const std::size_t before = line.substr(0, semicolon).find_last_not_of(blanks);
        if (before != std::wstring_view::npos && line[before] == L']') {
            return at + before;
        }
    }
    return std::nullopt;
}

} // namespace

std::variant<ReadKey, RegFault> ReadRegKey(const RegSource& source, std::size_t at) {
    const std::size_t firstEnd = EndOfLine(source, at);
    std::size_t line = at;
    std::optional<std::size_t> bracket = ClosingBracket(source, line);
    while (!bracket) {
        line = AfterLineEnd(source, line);
        if (line == source.text.size() || IsLineStart(source, line)) {
            return RegFault{firstEnd, L"a closing bracket"};
        }
        bracket = ClosingBracket(source, line);
    }
    ReadKey key;
    key.section.isDeletion = IsAt(source, at + 1, L"-");
    const std::size_t start = at + (key.section.isDeletion ? 2 : 1);
    if (*bracket <= start) {
        return RegFault{*bracket, L"a key's name"};
    }
    key.section.path = source.text.substr(start, *bracket - start);
    key.end = AfterLineEnd(source, *bracket);
    key.hasLineBreak = firstEnd < *bracket;
    return key;
}

} // namespace keyreap
