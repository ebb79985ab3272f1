#include "hostlogger/nativeregistry.h"

#include "platform/os/entrypoint.h"

#include <windows.h>

#include <winternl.h>

#include <array>
#include <cstddef>

namespace keyreap {

namespace {

constexpr ULONG objOpenLink = 0x100;                              // OBJ_OPENLINK, ntdef.h
constexpr int keyValuePartialInformation = 2;                     // KEY_VALUE_INFORMATION_CLASS, wdm.h
constexpr std::size_t longestTarget = 0x8000;                     // units
constexpr std::size_t longestName = 0x7FFF;                       // units, what a UNICODE_STRING holds
constexpr long statusNameTooLong = static_cast<long>(0xC0000106); // ntstatus.h

// KEY_VALUE_PARTIAL_INFORMATION of wdm.h.
struct PartialInformation {
    ULONG titleIndex;
    ULONG type;
    ULONG dataLength;
    std::array<wchar_t, longestTarget> data;
};

using OpenKeyFunction = NTSTATUS(NTAPI*)(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*);
using QueryValueFunction = NTSTATUS(NTAPI*)(HANDLE, UNICODE_STRING*, int, void*, ULONG, ULONG*);
using CloseFunction = NTSTATUS(NTAPI*)(HANDLE);
using UserKeyFunction = NTSTATUS(NTAPI*)(UNICODE_STRING*);
using FreeTextFunction = void(NTAPI*)(UNICODE_STRING*);

template <typename Function>
Function NativeFunction(const char* name) {
    return FindEntryPoint<Function>(GetModuleHandleW(L"ntdll.dll"), name);
}

UNICODE_STRING NativeText(std::wstring& text) {
    const auto bytes = static_cast<USHORT>(text.size() * sizeof(wchar_t));
    return {bytes, bytes, text.data()};
}

std::optional<std::wstring> ReadLinkTarget(HANDLE key) {
    static const auto query = NativeFunction<QueryValueFunction>("NtQueryValueKey");
    std::wstring name = L"SymbolicLinkValue";
    UNICODE_STRING nativeName = NativeText(name);
    PartialInformation value{};
    ULONG size = 0;
    if (query(key, &nativeName, keyValuePartialInformation, &value, sizeof(value), &size) != 0 ||
        value.type != REG_LINK || value.dataLength > sizeof(value.data)) {
        return {};
    }
    return std::wstring(value.data.data(), value.dataLength / sizeof(wchar_t));
}

} // namespace

NativeKey LookAtNativeKey(std::wstring name) {
    static const auto open = NativeFunction<OpenKeyFunction>("NtOpenKey");
    static const auto close = NativeFunction<CloseFunction>("NtClose");
    NativeKey seen;
    if (name.size() > longestName) {
        seen.status = statusNameTooLong;
        return seen;
    }
    UNICODE_STRING nativeName = NativeText(name);
    OBJECT_ATTRIBUTES attributes{};
    attributes.Length = sizeof(attributes);
    attributes.ObjectName = &nativeName;
    attributes.Attributes = OBJ_CASE_INSENSITIVE | objOpenLink;
    HANDLE key = nullptr;
    seen.status = open(&key, KEY_QUERY_VALUE | KEY_WOW64_64KEY, &attributes);
    if (seen.status >= 0 && key) {
        seen.linkTarget = ReadLinkTarget(key);
        close(key);
    }
    return seen;
}

std::wstring CurrentUserKey() {
    static const auto format = NativeFunction<UserKeyFunction>("RtlFormatCurrentUserKeyPath");
    static const auto release = NativeFunction<FreeTextFunction>("RtlFreeUnicodeString");
    UNICODE_STRING name{};
    if (format(&name) < 0) {
        return {};
    }
    std::wstring key(name.Buffer, name.Length / sizeof(wchar_t));
    release(&name);
    return key;
}

} // namespace keyreap
