#include "regmodel/othertext.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::size_t pieceLength = 2;
constexpr std::size_t textInLine = 50;
constexpr std::wstring_view comma = L",";
constexpr std::wstring_view brokenComma = L",\\\r\n  ";

// An empty text and the empty line before a key look like a text of a line break, but that a key always has
// an empty line before it.
bool IsEmptyText(const RegSource& source, std::size_t at) {
    const bool isPiece = IsAt(source, at + pieceLength, comma) || IsAt(source, at, L"\r\n\r\n");
    return IsLineEnd(source, at) && (!isPiece || IsAt(source, at, L"\r\n\r\n["));
}

} // namespace

std::variant<OtherText, RegFault> ReadOtherText(const RegSource& source, std::size_t at) {
    OtherText other{L"", at};
    if (IsEmptyText(source, at)) {
        return other;
    }
    while (other.end < source.text.size()) {
        if (other.end + 1 < source.text.size() && IsLineEnd(source, other.end + 1)) {
            other.text += source.text[other.end++];
            return other;
        }
        other.text += source.text.substr(other.end, pieceLength);
        other.end = std::min(other.end + pieceLength, source.text.size());
        if (IsLineEnd(source, other.end)) {
            return other;
        }
        const std::wstring_view separator = other.text.size() % textInLine == 0 ? brokenComma : comma;
        if (!IsAt(source, other.end, separator)) {
            return RegFault{other.end, L"a comma after two characters of another value's text"};
        }
        other.end += separator.size();
    }
    return RegFault{other.end, L"the rest of another value's text"};
}

} // namespace keyreap
