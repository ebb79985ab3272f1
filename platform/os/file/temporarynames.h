#pragma once

#include "platform/os/file/widepath.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace keyreap {

// The name with the part after its last dot replaced; only a dot after the last backslash counts. Without
// such a dot, the name with a dot and the extension added.
std::wstring ReplaceExtension(std::wstring_view name, std::wstring_view extension);

// The first three characters of a prefix, which GetTempFileNameW puts before its number.
std::wstring ShortPrefix(std::wstring_view prefix);

// The number after the short prefix in the stem of a temporary name, read as hexadecimal up to the first
// character that is no hexadecimal digit.
std::uint32_t TemporaryNumber(const WidePath& name, std::wstring_view prefix);

// The first free name after a taken one: adds 1 to the number and puts short prefix, number and extension
// together in the directory, until `exists` is false for the path. Each try also appends its name to the
// directory, so the second try is in a directory of the first name, where nothing can exist.
WidePath NextFreeName(const WidePath& taken, WidePath directory, std::wstring_view prefix,
                      std::wstring_view extension, const std::function<bool(const WidePath&)>& exists);

} // namespace keyreap
