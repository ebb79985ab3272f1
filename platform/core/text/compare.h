#pragma once

#include <string>
#include <string_view>

// The system's three string comparisons, each for its own purpose and never mixed. All of them give a
// negative number, 0 or a positive one, as the left text sorts before, equal to or behind the right one.
namespace keyreap {

// Folds A to Z and nothing else.
constexpr wchar_t FoldLetter(wchar_t unit) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

// With A to Z folded: path prefixes, qualifier texts, the mode word, the sort of keys.
int CompareFolded(std::wstring_view left, std::wstring_view right);

// True for texts that differ at most by the case of A to Z: the names of keys in the request log of Wine's
// server.
bool EqualFolded(std::wstring_view left, std::wstring_view right);

// The text with A to Z folded: one for all texts that are equal by EqualFolded.
std::wstring FoldedText(std::wstring text);

// True if `text` begins with `prefix`, A to Z folded; what follows the prefix plays no part.
bool StartsWithFolded(std::wstring_view text, std::wstring_view prefix);

// By 16-bit code units: the sort of value names, the search for "Wow6432Node".
int CompareUnits(std::wstring_view left, std::wstring_view right);

// As the system compares names (lstrcmpiW): key and value names in the operation log. Windows only.
int CompareNames(const wchar_t* left, const wchar_t* right);

} // namespace keyreap
