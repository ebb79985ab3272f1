#pragma once

#include "regmodel/regobjects.h"

#include <string_view>

// What the libraries of the system write on behalf of whoever calls them. It is in captures of servers that
// have nothing to do with it, and others need it after the product is gone.
namespace keyreap {

// Who writes the value, or the object, in words that begin a sentence; empty if no library does.
std::wstring_view LibraryThatWrites(std::wstring_view keyPath, std::wstring_view valueName);
std::wstring_view LibraryThatWrites(const RegObject& object);

} // namespace keyreap
