#pragma once

#include "platform/os/file/widepath.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace keyreap {

// The name with what follows its last dot (one behind the last backslash) replaced; without such a dot, the
// name with a dot and the extension added.
std::wstring ReplaceExtension(std::wstring_view name, std::wstring_view extension);

// The first three characters of a prefix, which are what GetTempFileNameW puts in front of its number.
std::wstring ShortPrefix(std::wstring_view prefix);

// The number behind the short prefix in the stem of a temporary name, read as hexadecimal up to the first
// character that is no digit of it.
std::uint32_t TemporaryNumber(const WidePath& name, std::wstring_view prefix);

// Goes on from a name that is taken: counts its number up and puts short prefix, number and extension
// together beneath the directory, until `exists` denies the path. The directory is lengthened by every try,
// so that the second one already looks beneath the first one's name, where nothing can be.
WidePath NextFreeName(const WidePath& taken, WidePath directory, std::wstring_view prefix,
                      std::wstring_view extension, const std::function<bool(const WidePath&)>& exists);

} // namespace keyreap
