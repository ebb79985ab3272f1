#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Small conversions of text. Wide text is UTF-16, one unit a wchar_t.
namespace keyreap {

// The pieces of `text` between the occurrences of the whole `delimiter`, compared exactly. Empty pieces count
// unless `dropEmpty` is set. An empty text has no pieces; with an empty delimiter the text is one piece.
std::vector<std::wstring> SplitText(std::wstring_view text, std::wstring_view delimiter, bool dropEmpty);

// The text without the characters of `set` at its end.
std::wstring TrimRight(std::wstring_view text, std::wstring_view set);

// The text without the characters of `set` at its start.
std::wstring TrimLeft(std::wstring_view text, std::wstring_view set);

// Removes the blanks (only U+0020) at the end, in place.
void TrimTrailingSpaces(std::wstring& text);

// The text up to its first carriage return or line feed, or all of it.
std::wstring FirstLine(std::wstring_view text);

// Each byte becomes the wide character of the same signed value. There is no code page, so a byte above 0x7F
// is not decoded (0xE9 becomes U+FFE9).
std::wstring WidenBytes(std::string_view bytes);

// An integer in decimal, with a leading "-" if it is below 0.
template <std::integral Integer>
std::wstring IntegerToText(Integer value) {
    return std::to_wstring(value);
}

// A number in lower-case hexadecimal, with leading zeros up to `minimumDigits`.
std::wstring HexToText(std::uint64_t value, std::size_t minimumDigits = 1);

// Appends a byte's two lower-case hexadecimal digits; bits above the low eight are ignored.
void AppendHexByte(std::wstring& text, unsigned byte);

// The decimal number at the start of `text`. A leading "-" negates, and reading stops at the first character
// that isn't a digit. Without a digit the result is 0; a larger number is cut to its low 32 bits.
std::int32_t TextToInteger(std::wstring_view text);

// The same for at most `maximumDigits` hexadecimal digits of either case, not counting the sign.
std::uint32_t HexTextToInteger(std::wstring_view text, std::size_t maximumDigits);

// The text in the bytes of a code page (0: the system's, 65001: UTF-8, 1252, ...). Empty if there is no text
// or the system returns no bytes. Windows only.
std::string WideToMultiByte(std::wstring_view text, std::uint32_t codePage);

} // namespace keyreap
