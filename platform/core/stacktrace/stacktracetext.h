#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The text of a stack trace: the marker that opens it and its lines. Later code finds a trace in a message by
// the header alone.
namespace keyreap {

inline constexpr std::wstring_view StackTraceHeader = // NOLINT(readability-identifier-naming): the given name
    sizeof(void*) == 8 ? L"\r\n*** Stack Trace (x64) ***\r\n\r\n" : L"\r\n*** Stack Trace (x86) ***\r\n\r\n";

// Stands behind the last frame that the caller allowed, whether or not the stack goes on.
inline constexpr std::wstring_view moreFramesLine =
    L"<--------------------MORE--FRAMES-------------------->\r\n";

// Stands between a frame's function and its line, and only if the line is known.
inline constexpr std::wstring_view frameLineMark = L" -> ";

// "[0x0000000000401000]": 16 digits whatever the width of a pointer.
std::wstring AddressText(std::uint64_t address);

// "(0xc0000005)", as the code of a structured exception stands in a message.
std::wstring ExceptionCodeText(std::uint32_t code);

// "name()", the name cut to 2000 characters; "-----" where no symbol is known.
std::wstring FunctionText(const std::optional<std::string>& name);

// "file.cpp:12" without the file's folders, cut to 260 characters.
std::wstring LineText(std::string_view filePath, std::uint32_t line);

// One line of the trace, its line end included. An empty lineText leaves out the mark too.
std::wstring FrameText(std::uint64_t address, std::wstring_view functionText, std::wstring_view lineText);

// The line that ends a trace, with the base address of the program's main module.
std::wstring ClosingLine(std::uint64_t moduleBase);

bool HoldsStackTrace(std::wstring_view message);

// The message up to its trace, or all of it if it has none.
std::wstring TextBeforeStackTrace(std::wstring_view message);

// The message with a line break and the banner directly in front of its trace. A message without a trace
// stays as it is, and so does every one if the banner is empty.
std::wstring InsertBanner(std::wstring_view message, std::wstring_view banner);

} // namespace keyreap
