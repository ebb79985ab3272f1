#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The text of a stack trace: the header that starts it, and its lines. The header alone marks a trace in a
// message.
namespace keyreap {

inline constexpr std::wstring_view StackTraceHeader = // NOLINT(readability-identifier-naming): the given name
    sizeof(void*) == 8 ? L"\r\n*** Stack Trace (x64) ***\r\n\r\n" : L"\r\n*** Stack Trace (x86) ***\r\n\r\n";

// Comes after the last frame that the caller allowed, whether or not the stack continues.
inline constexpr std::wstring_view moreFramesLine =
    L"<--------------------MORE--FRAMES-------------------->\r\n";

// Comes between a frame's function and its line, if the line is known.
inline constexpr std::wstring_view frameLineMark = L" -> ";

// "[0x0000000000401000]": 16 digits for any width of a pointer.
std::wstring AddressText(std::uint64_t address);

// "(0xc0000005)", the form that the code of a structured exception has in a message.
std::wstring ExceptionCodeText(std::uint32_t code);

// "name()" with the name cut to 2000 characters; "-----" if no symbol is known.
std::wstring FunctionText(const std::optional<std::string>& name);

// "file.cpp:12" without the file's folders, cut to 260 characters.
std::wstring LineText(std::string_view filePath, std::uint32_t line);

// One line of the trace with its line end. An empty lineText leaves out the mark too.
std::wstring FrameText(std::uint64_t address, std::wstring_view functionText, std::wstring_view lineText);

// The line that ends a trace, with the base address of the program's main module.
std::wstring ClosingLine(std::uint64_t moduleBase);

bool HoldsStackTrace(std::wstring_view message);

// The message up to its trace; the whole message if it has none.
std::wstring TextBeforeStackTrace(std::wstring_view message);

// The message with a line break and the banner directly before its trace. A message without a trace and a
// message with an empty banner stay as they are.
std::wstring InsertBanner(std::wstring_view message, std::wstring_view banner);

} // namespace keyreap
