#include "platform/core/stacktrace/stacktracetext.h"

#include "platform/core/text/text.h"

namespace keyreap {

namespace {

constexpr std::size_t longestFunctionName = 2000;
constexpr std::size_t longestLineText = 260;
constexpr std::wstring_view lineEnd = L"\r\n";

// Byte by byte, as the run time's formatter does before any locale is set.
std::wstring Widened(std::string_view bytes) {
    std::wstring wide;
    for (const char byte : bytes) {
        wide += static_cast<wchar_t>(static_cast<unsigned char>(byte));
    }
    return wide;
}

std::string_view FileName(std::string_view path) {
    const std::size_t backslash = path.rfind('\\');
    return backslash == std::string_view::npos ? path : path.substr(backslash + 1);
}

} // namespace

std::wstring AddressText(std::uint64_t address) {
    return L"[0x" + HexToText(address, 16) + L"]";
}

std::wstring ExceptionCodeText(std::uint32_t code) {
    return L"(0x" + HexToText(code, 8) + L")";
}

std::wstring FunctionText(const std::optional<std::string>& name) {
    return name ? Widened(name->substr(0, longestFunctionName)) + L"()" : L"-----";
}

std::wstring LineText(std::string_view filePath, std::uint32_t line) {
    std::wstring text = Widened(FileName(filePath)) + L":" + std::to_wstring(static_cast<std::int32_t>(line));
    return text.substr(0, longestLineText);
}

std::wstring FrameText(std::uint64_t address, std::wstring_view functionText, std::wstring_view lineText) {
    std::wstring text = AddressText(address).append(L"  ").append(functionText);
    if (!lineText.empty()) {
        text.append(frameLineMark).append(lineText);
    }
    return text.append(lineEnd);
}

std::wstring ClosingLine(std::uint64_t moduleBase) {
    return FrameText(moduleBase, L"MODULE_BASE_ADDRESS", {});
}

bool HoldsStackTrace(std::wstring_view message) {
    return message.find(StackTraceHeader) != std::wstring_view::npos;
}

std::wstring TextBeforeStackTrace(std::wstring_view message) {
    return std::wstring(message.substr(0, message.find(StackTraceHeader)));
}

std::wstring InsertBanner(std::wstring_view message, std::wstring_view banner) {
    std::wstring text(message);
    const std::size_t header = text.find(StackTraceHeader);
    if (header != std::wstring::npos && !banner.empty()) {
        text.insert(header, std::wstring(lineEnd).append(banner));
    }
    return text;
}

} // namespace keyreap
