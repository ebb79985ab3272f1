#pragma once

#include <string>
#include <string_view>

// The system's three string comparisons, each for its own purpose and never mixed. CompareFolded,
// CompareUnits and CompareNames return a negative number, 0 or a positive number if the left text sorts
// before, equal to or after the right text.
namespace keyreap {

// Folds A to Z and nothing else.
constexpr wchar_t FoldLetter(wchar_t unit) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

// With A to Z folded: path prefixes, qualifier texts, the mode word, the sort of keys.
int CompareFolded(std::wstring_view left, std::wstring_view right);

// True for texts that differ at most by the case of A to Z.
bool EqualFolded(std::wstring_view left, std::wstring_view right);

// The text with A to Z folded: the same result for all texts that are equal by EqualFolded.
std::wstring FoldedText(std::wstring text);

// The same for the bytes of ASCII or UTF-8. Inline, since programs of this machine are compiled without this
// room.
inline std::string FoldedBytes(std::string text) {
    for (char& byte : text) {
        byte = static_cast<char>(FoldLetter(static_cast<unsigned char>(byte)));
    }
    return text;
}

// True if `text` begins with `prefix`, with A to Z folded in both.
bool StartsWithFolded(std::wstring_view text, std::wstring_view prefix);

// By 16-bit code units: the sort of value names, the search for "Wow6432Node".
int CompareUnits(std::wstring_view left, std::wstring_view right);

// As the system compares names (lstrcmpiW): key and value names in the operation log. Windows only.
int CompareNames(const wchar_t* left, const wchar_t* right);

} // namespace keyreap
