#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

// What is reported from somebody else's machine contains no word of that machine. So no list says what to
// remove; there is a list of the words that may stay: those of the project's own samples, and the published
// names that every registry has.
namespace keyreap {

class Vocabulary {
public:
    // The names that every registry has.
    Vocabulary();

    // A name of a key or a value, or a path, whose names are added.
    void Add(std::wstring_view path);

    // With A to Z folded.
    bool Contains(std::wstring_view name) const;

    // A registry path in ASCII. An unknown name becomes "?", the numbers that identify an account in a SID
    // become "*", and units outside ASCII become escapes.
    std::string Reported(std::wstring_view path) const;

private:
    std::string ReportedName(std::wstring_view name) const;

    std::unordered_set<std::wstring> words; // folded
};

// Printable ASCII as it is, every other unit as an escape such as \u00e9.
std::string PlainAscii(std::wstring_view text);

// A SID without the numbers that identify an account: S-1-5-21-1-2-3-1000_Classes becomes S-1-5-21-*_Classes.
// Empty if the name isn't a SID.
std::wstring AnonymousSid(std::wstring_view name);

} // namespace keyreap
