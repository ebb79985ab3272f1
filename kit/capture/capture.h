#pragma once

#include "regmodel/regentry.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

struct Capture {
    std::wstring file;
    RegDocument document;
};

// Where an entry comes from, for messages.
struct EntryPlace {
    std::wstring file;
    std::size_t line = 0; // 0: the whole file
    std::wstring key;
    bool isKey = false; // the key itself, and not a value of it
    std::wstring value; // empty: the default value
};

// The key and its value, as messages name them; empty for a whole file.
std::wstring NameOfEntry(const EntryPlace& place);

// Why no server registered a key of this path; empty if one may have.
std::wstring ReasonAgainstKey(std::wstring_view keyPath);

// Why an entry sets no value, or another one than the server's; empty for all others.
std::wstring ReasonAgainstEntry(const RegEntry& entry);

// The reason against a text with the path of a key of the capture's own.
inline constexpr std::wstring_view namesTemporaryTree =
    L"has the name of a key of the temporary tree of the capture";

// The texts of an entry: one, those of a list, or none.
std::vector<std::wstring> TextsOf(const RegEntry& entry);

// True if a document sets a value.
bool HasValue(const RegDocument& document);

// True for a value of a key whose default value is the place of a file, with arguments or a resource's number
// after it.
bool IsPlaceOfFile(std::wstring_view keyPath, std::wstring_view valueName);

// True for a class, an interface or a type library that the system's maker has numbered, such as IDispatch,
// and for the categories that every system has. Others need it after the product is gone.
bool IsOfSystem(std::wstring_view guid);

} // namespace keyreap
