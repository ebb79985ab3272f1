#pragma once

#include "kit/emit/installdata.h"

#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The bytes of a script's text in UTF-8, with a byte order mark if a character beyond ASCII needs it.
std::string ScriptBytes(std::wstring_view text);

// True if the text has a character below a blank that isn't in the list, or half a character.
bool HasUnwritable(std::wstring_view text, std::wstring_view allowed);

// The same for the literals of pieces, and for all texts of a value.
bool HasUnwritable(const PieceText& pieces, std::wstring_view allowed);
bool HasUnwritable(const InstallValue& value, std::wstring_view allowed);

struct KeyName {
    InstallRoot root = InstallRoot::LocalMachine;
    std::wstring path;
};

// The keys that an uninstaller has to remove if they are empty then, each with all keys above it, the deepest
// last. A trace doesn't name a key that contains only other keys.
std::vector<KeyName> KeysToRemove(const InstallData& data);

// Hexadecimal digits, two a byte, with the separator between them.
std::wstring HexDigitsOf(const std::vector<std::uint8_t>& data, std::wstring_view separator);

} // namespace keyreap
