#pragma once

#include "regfile/pathsubstitution.h"
#include "regfile/valuetext.h"

#include <cstdint>
#include <string>
#include <string_view>

// The .reg text of one value, down to the character. Text is UTF-16 units throughout; nothing here fails.
namespace keyreap {

// Puts a backslash in front of every backslash and double quote, for value names and string values. A text
// whose only such character is its first one is returned unchanged.
std::wstring EscapeRegText(std::wstring_view text);

// Does the same without that exception, for the path pairs of a replay.
std::wstring EscapeRegTextStrict(std::wstring_view text);

// The body of hex(2): and hex(7): the units as byte pairs, LF as NUL, CR dropped, one terminator. One line.
std::wstring EncodeWideHex(const ValueText& text);

// The body of hex: and hex(b): the pairs of characters unchanged, 25 on a line.
std::wstring EncodeHexPairs(const ValueText& text);

// The body of dword: eight hexadecimal digits from decimal text, saturating at 0xFFFFFFFF.
std::wstring EncodeDwordHex(const ValueText& text);

// The whole entry of a value, including its CR LF. An empty name is the key's default value. `replacements`
// are applied to REG_SZ data only. The entry of a type without a form of its own ends directly after the
// equals sign.
std::wstring FormatValueEntry(std::wstring_view name, const ValueText& text, std::uint32_t type,
                              const PathReplacements& replacements);

} // namespace keyreap
