#pragma once

#include <optional>
#include <string>
#include <string_view>

// UTF-8 (RFC 3629) and UTF-16 units, without the system.
namespace keyreap {

// The bytes of the units; none if a surrogate has no partner.
std::optional<std::string> Utf8OfUnits(std::wstring_view units);

// The same with U+FFFD in the place of such a surrogate, for messages.
std::string ReadableUtf8(std::wstring_view units);

// The units of the bytes; none if they are no UTF-8.
std::optional<std::wstring> UnitsOfUtf8(std::string_view bytes);

} // namespace keyreap
