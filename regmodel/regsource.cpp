#include "regmodel/regsource.h"

#include <algorithm>

namespace keyreap {

namespace {

bool NeedsEscape(wchar_t unit) {
    return unit == L'\\' || unit == L'"';
}

// The line break that the unit after a backslash means.
std::optional<wchar_t> EscapedLineBreak(const RegSource& source, std::size_t at) {
    if (!source.allowsLineEscapes) {
        return std::nullopt;
    }
    if (IsAt(source, at, L"n")) {
        return L'\n';
    }
    return IsAt(source, at, L"r") ? std::optional(L'\r') : std::nullopt;
}

} // namespace

bool IsBlank(wchar_t unit) {
    return unit == L' ' || unit == L'\t';
}

std::size_t AfterBlanks(const RegSource& source, std::size_t at) {
    return std::min(source.text.find_first_not_of(L" \t", at), source.text.size());
}

bool IsAt(const RegSource& source, std::size_t at, std::wstring_view text) {
    return at <= source.text.size() && source.text.substr(at, text.size()) == text;
}

bool IsLineEnd(const RegSource& source, std::size_t at) {
    return at == source.text.size() || IsAt(source, at, source.lineEnd);
}

std::size_t EndOfLine(const RegSource& source, std::size_t at) {
    return std::min(source.text.find(source.lineEnd, at), source.text.size());
}

std::size_t AfterLineEnd(const RegSource& source, std::size_t at) {
    return std::min(EndOfLine(source, at) + source.lineEnd.size(), source.text.size());
}

std::optional<std::size_t> AfterRestOfLine(const RegSource& source, std::size_t at) {
    const std::size_t rest = AfterBlanks(source, at);
    const bool isOver = IsLineEnd(source, rest) || IsAt(source, rest, L";");
    return isOver ? std::optional(AfterLineEnd(source, rest)) : std::nullopt;
}

bool IsLineStart(const RegSource& source, std::size_t at) {
    const std::size_t start = AfterBlanks(source, at);
    return IsLineEnd(source, start) ||
           std::wstring_view(L"[@\";").find(source.text[start]) != std::wstring_view::npos;
}

bool HasEmptyLastLine(const RegSource& source) {
    std::wstring_view text = source.text;
    text.remove_suffix(text.ends_with(source.lineEnd) ? source.lineEnd.size() : 0);
    const std::size_t lastEnd = text.rfind(source.lineEnd);
    return lastEnd != std::wstring_view::npos &&
           std::ranges::all_of(text.substr(lastEnd + source.lineEnd.size()), IsBlank);
}

std::variant<QuotedText, RegFault> ReadEscapedText(const RegSource& source, std::size_t at) {
    QuotedText result;
    std::size_t next = at + 1;
    for (; next < source.text.size() && source.text[next] != L'"'; ++next) {
        if (source.text[next] != L'\\') {
            result.text += source.text[next];
            continue;
        }
        ++next;
        const std::optional<wchar_t> lineBreak = EscapedLineBreak(source, next);
        if (!lineBreak && (next == source.text.size() || !NeedsEscape(source.text[next]))) {
            return RegFault{next, L"a backslash or a quote after a backslash"};
        }
        result.hasLineEscape = result.hasLineEscape || lineBreak;
        result.text += lineBreak.value_or(source.text[next]);
    }
    if (next == source.text.size()) {
        return RegFault{EndOfLine(source, at), L"a closing quote"};
    }
    result.end = next + 1;
    return result;
}

std::optional<QuotedText> ReadLoneText(const RegSource& source, std::size_t at) {
    const std::size_t first = at + 1;
    const bool isEscape = IsAt(source, first, L"\\") && EscapedLineBreak(source, first + 1);
    if (first >= source.text.size() || !NeedsEscape(source.text[first]) || isEscape) {
        return std::nullopt;
    }
    const std::size_t closing = source.text.find_first_of(L"\\\"", first + 1);
    if (closing == std::wstring_view::npos || source.text[closing] != L'"') {
        return std::nullopt;
    }
    return QuotedText{std::wstring(source.text.substr(first, closing - first)), closing + 1, true};
}

} // namespace keyreap
