#include "platform/core/message.h"

#include "platform/core/text/text.h"
#include "platform/os/owned.h"

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <utility>

namespace keyreap {

namespace {

constexpr DWORD formatStringFlags =
    FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_MAX_WIDTH_MASK;
constexpr DWORD systemErrorFlags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                   FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;

// FormatMessageW knows "%1" to "%99": with 99 arguments after the format, none is ever missing.
using InsertPlaces = std::make_index_sequence<99>;

// A text that the system has allocated; null if there is none.
using SystemText = Owned<ClosedBy<wchar_t*, LocalFree>>;

SystemText FormatSystemText(DWORD flags, const wchar_t* format, DWORD code, std::va_list* arguments) {
    wchar_t* text = nullptr;
    // With FORMAT_MESSAGE_ALLOCATE_BUFFER the parameter for the buffer takes the address of a pointer.
    const DWORD length =
        FormatMessageW(flags, format, code, 0, reinterpret_cast<wchar_t*>(&text), 0, arguments);
    SystemText allocated(text);
    return length == 0 ? SystemText() : std::move(allocated);
}

// FormatMessageW takes its arguments as a va_list, which only a variadic function can make.
SystemText FormatArguments(const wchar_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    SystemText text = FormatSystemText(formatStringFlags, format, 0, &arguments);
    va_end(arguments);
    return text;
}

const wchar_t* InsertAt(const std::vector<std::wstring>& inserts, std::size_t place) {
    return place < inserts.size() ? inserts[place].c_str() : L"";
}

template <std::size_t... Place>
SystemText FormatInserts(const std::wstring& format, const std::vector<std::wstring>& inserts,
                         std::index_sequence<Place...>) {
    return FormatArguments(format.c_str(), InsertAt(inserts, Place)...);
}

} // namespace

std::wstring LoadResourceString(std::uint32_t id) {
    const HINSTANCE resources = GetModuleHandleW(nullptr);
    std::wstring text(256, L'\0');
    int length = LoadStringW(resources, id, text.data(), 256);
    if (length >= 255) {
        // A text that fills the buffer up to the terminator may have been cut.
        int room = 0;
        do {
            room = 2 * length;
            text.resize(static_cast<std::size_t>(room) + 1);
            length = LoadStringW(resources, id, text.data(), room + 1);
        } while (length == room);
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::wstring FormatMessageText(const std::wstring& format, const std::vector<std::wstring>& inserts) {
    const SystemText formatted = FormatInserts(format, inserts, InsertPlaces());
    if (!formatted.Valid()) {
        return L"Format message error [win32 error 0x" + HexToText(GetLastError()) +
               L"] while composing the message [" + format + L"].";
    }
    std::wstring text = formatted.Get();
    TrimTrailingSpaces(text);
    return text;
}

std::wstring FormatResourceString(std::uint32_t id, const std::vector<std::wstring>& inserts) {
    return FormatMessageText(LoadResourceString(id), inserts);
}

std::wstring GetSystemErrorText(std::uint32_t code) {
    const SystemText text = FormatSystemText(systemErrorFlags, nullptr, code, nullptr);
    return text.Valid() ? std::wstring(text.Get())
                        : L"Failed to get Windows error message [win32 error 0x" + HexToText(code) + L"].";
}

} // namespace keyreap
