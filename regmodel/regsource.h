#pragma once

#include "regmodel/regentry.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

// The units of a .reg file, and what is read at a place in them. Places are counted in units from 0. Blanks
// are spaces and tabs. The end of the file is also the end of a line.
namespace keyreap {

struct RegSource {
    std::wstring_view text;
    std::wstring_view lineEnd = L"\r\n";
    RegVersion version = RegVersion::Five;
    bool isHarvest = false;
    bool allowsLineEscapes = false; // in names and texts: \r and \n
};

// What was expected at a place and isn't there.
struct RegFault {
    std::size_t at = 0;
    std::wstring expected;
};

// A text between quotes. `end` is after the closing one.
struct QuotedText {
    std::wstring text;
    std::size_t end = 0;
    bool isLone = false; // its first unit is a backslash or quote without a backslash before it
    bool hasLineEscape = false;
};

bool IsBlank(wchar_t unit);

// The place after the blanks.
std::size_t AfterBlanks(const RegSource& source, std::size_t at);

// True if the text is at the place, which may be after the file's end.
bool IsAt(const RegSource& source, std::size_t at, std::wstring_view text);

// True at a line's end or the file's.
bool IsLineEnd(const RegSource& source, std::size_t at);

// The place of the line's end, and that after it.
std::size_t EndOfLine(const RegSource& source, std::size_t at);
std::size_t AfterLineEnd(const RegSource& source, std::size_t at);

// The place after the line's end, if only blanks and a comment are before it.
std::optional<std::size_t> AfterRestOfLine(const RegSource& source, std::size_t at);

// True if a key, an entry, a comment or an empty line can begin at the place.
bool IsLineStart(const RegSource& source, std::size_t at);

// True if the file's last line has blanks at most.
bool HasEmptyLastLine(const RegSource& source);

// The text whose opening quote is at the place: each backslash and quote in it has a backslash before it.
std::variant<QuotedText, RegFault> ReadEscapedText(const RegSource& source, std::size_t at);

// The same for a text whose only backslash or quote is its first unit, without a backslash before it. None if
// that isn't at the place.
std::optional<QuotedText> ReadLoneText(const RegSource& source, std::size_t at);

} // namespace keyreap
