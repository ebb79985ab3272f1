#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Texts of the program's string table and of the system. No function here fails: if there is no text, the
// result is the empty text or a fixed text that says what went wrong. Windows only.
namespace keyreap {

// The whole program string `id`, of any length, or the empty text.
std::wstring LoadResourceString(std::uint32_t id);

// `format` with its inserts "%1" to "%99" (the syntax of FormatMessageW) replaced by the given texts, line
// ends replaced by blanks, and without blanks at the end. A missing insert is empty.
std::wstring FormatMessageText(const std::wstring& format, const std::vector<std::wstring>& inserts = {});

// FormatMessageText of the program's string `id`.
std::wstring FormatResourceString(std::uint32_t id, const std::vector<std::wstring>& inserts = {});

// The system's text for a Win32 code or an HRESULT, with the blank at its end if the system has one.
std::wstring GetSystemErrorText(std::uint32_t code);

} // namespace keyreap
