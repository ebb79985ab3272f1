#pragma once

#include <string>
#include <string_view>

namespace keyreap {

// The four characters in front of an extended-length path.
inline constexpr std::wstring_view extendedPrefix = L"\\\\?\\";

// True if the text begins with the extended-length prefix; the comparison is exact.
bool HasExtendedPrefix(std::wstring_view text);

// The text without one extended-length prefix at its front.
std::wstring_view StripExtendedPrefix(std::wstring_view text);

// The text without trailing backslashes and with either no leading backslash or, when it begins with two or
// more, exactly two. Forward slashes, dots and drive letters stay: `C:\` gives `C:`, `\a` gives `a`.
std::wstring NormalizePath(std::wstring_view text);

// The form for the file API: an absolute path (two leading backslashes, or a colon second) of 248 characters
// or more gets the extended-length prefix, unless it has it; any other text is unchanged.
std::wstring ExtendedLengthForm(std::wstring_view text);

// The higher threshold, used by removal and search only: any text of 260 characters or more gets the
// extended-length prefix, unless it has it.
std::wstring PrefixedFromMaxPath(std::wstring_view text);

// True for a path on a share: at least three characters, two backslashes first, the third no question mark.
bool IsUncPath(std::wstring_view text);

// A file path. Holds its text normalised and without the extended-length prefix.
class WidePath {
public:
    WidePath() = default;

    // Takes StripExtendedPrefix, then NormalizePath, of the text.
    explicit WidePath(std::wstring_view text);

    const std::wstring& Text() const { return text; }
    bool IsEmpty() const { return text.empty(); }

    // Adds one component in place, after one backslash if the path is not empty. An empty component (after
    // normalisation) adds nothing.
    void Append(std::wstring_view component);

    // Appends, and returns a copy of the result. This path STAYS lengthened: a second Combine appends to the
    // result of the first.
    WidePath Combine(std::wstring_view component);

    // The part after the last backslash; without one, the part after the last ">"; without either, the whole
    // text.
    std::wstring FileName() const;

    // FileName up to its last dot; a name without a dot is whole.
    std::wstring FileStem() const;

    // The part before the last backslash; empty without a backslash, and for a name like `\\x`.
    WidePath Parent() const;

    // See the function of this name.
    std::wstring ExtendedLengthForm() const;

    friend bool operator==(const WidePath& left, const WidePath& right) = default;

private:
    std::wstring text;
};

} // namespace keyreap
