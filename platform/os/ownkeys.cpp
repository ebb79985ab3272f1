#include "platform/os/ownkeys.h"

#include "platform/os/entrypoint.h"
#include "platform/os/winehost.h"

#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

namespace {

constexpr std::wstring_view usersKey = L"\\REGISTRY\\User\\";
constexpr std::wstring_view ownKey = L"Software\\Velmoro";
constexpr int keyNameInformation = 3;                                // KEY_INFORMATION_CLASS, wdm.h
constexpr auto statusBufferOverflow = static_cast<long>(0x80000005); // ntstatus.h
constexpr std::size_t usualSize = 1024;                              // of KEY_NAME_INFORMATION

using QueryKeyFunction = NTSTATUS(NTAPI*)(HANDLE, int, void*, ULONG, ULONG*);

bool SendsPathsThroughNodes() {
    return sizeof(void*) == sizeof(std::uint32_t) && RunsOnWine();
}

bool BeginsWith(std::wstring_view text, std::wstring_view prefix) {
    return text.size() >= prefix.size() &&
           CompareStringOrdinal(text.data(), static_cast<int>(prefix.size()), prefix.data(),
                                static_cast<int>(prefix.size()), TRUE) == CSTR_EQUAL;
}

// The host's full name of an open key; empty for an invalid handle.
std::wstring CompleteName(HKEY key) {
    static const auto query = FindEntryPoint<QueryKeyFunction>(GetModuleHandleW(L"ntdll.dll"), "NtQueryKey");
    std::vector<std::uint8_t> information(usualSize);
    ULONG size = 0;
    const auto read = [&] {
        return query(key, keyNameInformation, information.data(), static_cast<ULONG>(information.size()),
                     &size);
    };
    long status = read();
    if (status == statusBufferOverflow) {
        information.resize(size);
        status = read();
    }
    if (status != 0) {
        return {};
    }
    // KEY_NAME_INFORMATION: the length in bytes, and right after it the name.
    ULONG length = 0;
    std::memcpy(&length, information.data(), sizeof(length));
    std::wstring name(length / sizeof(wchar_t), L'\0');
    std::memcpy(name.data(), information.data() + sizeof(length), length);
    return name;
}

// The name of a key relative to its user's key; empty for a key anywhere else.
std::wstring NameBelowUser(HKEY key) {
    const std::wstring name = CompleteName(key);
    if (!BeginsWith(name, usersKey)) {
        return {};
    }
    const std::size_t end = name.find(L'\\', usersKey.size());
    return end == std::wstring::npos ? std::wstring() : name.substr(end + 1);
}

// Several backslashes in a row separate names as one does.
std::wstring WithSingleBackslashes(std::wstring path) {
    const auto areBackslashes = [](wchar_t first, wchar_t second) {
        return first == L'\\' && second == L'\\';
    };
    path.erase(std::unique(path.begin(), path.end(), areBackslashes), path.end());
    return path;
}

bool IsOwnKey(HKEY parent, const wchar_t* subkey) {
    std::wstring path = parent == HKEY_CURRENT_USER ? std::wstring() : NameBelowUser(parent) + L'\\';
    path = WithSingleBackslashes(path + subkey);
    return BeginsWith(path, ownKey) && (path.size() == ownKey.size() || path[ownKey.size()] == L'\\');
}

} // namespace

REGSAM ViewOfOwnKey(HKEY parent, const wchar_t* subkey) {
    static const bool sends = SendsPathsThroughNodes();
    return sends && IsOwnKey(parent, subkey) ? KEY_WOW64_64KEY : 0;
}

} // namespace keyreap
