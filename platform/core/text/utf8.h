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

// The bytes of any units, for a program that reads them again: a surrogate without a partner is U+FFFD and
// its four hexadecimal digits, as is U+FFFD itself. All other units are as in UTF-8.
std::string LosslessUtf8(std::wstring_view units);

// The units of such bytes; none if they are no UTF-8. A U+FFFD without these digits is itself.
std::optional<std::wstring> UnitsOfLossless(std::string_view bytes);

} // namespace keyreap
