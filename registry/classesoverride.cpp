#include "registry/classesoverride.h"

#include "platform/core/text/compare.h"
#include "platform/os/entrypoint.h"
#include "registry/importslot.h"

#include <windows.h>

#include <winternl.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace keyreap {

namespace {

constexpr ACCESS_MASK anyView = KEY_WOW64_32KEY | KEY_WOW64_64KEY;
constexpr int keyNameInformation = 3;                                        // KEY_INFORMATION_CLASS, wdm.h
constexpr NTSTATUS statusBufferOverflow = static_cast<NTSTATUS>(0x80000005); // ntstatus.h

using CreateKeyFunction = NTSTATUS(NTAPI*)(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*, ULONG, UNICODE_STRING*,
                                           ULONG, ULONG*);
using QueryKeyFunction = NTSTATUS(NTAPI*)(HANDLE, int, void*, ULONG, ULONG*);

// KEY_NAME_INFORMATION of wdm.h, with room for more than the names of the live classes.
struct KeyName {
    ULONG bytes = 0;
    std::array<wchar_t, 128> text{};
};

// The addresses of the API in memory, and the function that it called originally.
struct Api {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    CreateKeyFunction createKey = nullptr;
};

Api api;

// The API keeps the names of its roots inside its own module, and opens them at once or one component at a
// time. A caller's name is never there.
bool IsInsideTheApi(const UNICODE_STRING& name) {
    const auto address = reinterpret_cast<std::uintptr_t>(name.Buffer);
    return address >= api.begin && address < api.end;
}

bool EndsWithClasses(const UNICODE_STRING& name) {
    constexpr std::wstring_view classes = L"Classes";
    const std::wstring_view text(name.Buffer, name.Length / sizeof(wchar_t));
    return text.size() >= classes.size() && EqualFolded(text.substr(text.size() - classes.size()), classes);
}

// True if the API opens the classes themselves, for a caller that names a view.
bool IsRootOfAView(ACCESS_MASK access, const OBJECT_ATTRIBUTES& wanted) {
    return (access & anyView) != 0 && wanted.ObjectName && IsInsideTheApi(*wanted.ObjectName) &&
           EndsWithClasses(*wanted.ObjectName);
}

bool IsLiveClasses(std::wstring_view path) {
    return EqualFolded(path, L"\\REGISTRY\\Machine\\Software\\Classes") ||
           EqualFolded(path, L"\\REGISTRY\\Machine\\Software\\Classes\\Wow6432Node");
}

// False also for a key whose name can't be read.
bool IsRedirected(HKEY key) {
    static const auto query = FindEntryPoint<QueryKeyFunction>(GetModuleHandleW(L"ntdll.dll"), "NtQueryKey");
    KeyName name;
    ULONG size = 0;
    const NTSTATUS status = query(key, keyNameInformation, &name, sizeof(name), &size);
    return status == statusBufferOverflow ||
           (status == 0 && !IsLiveClasses({name.text.data(), name.bytes / sizeof(wchar_t)}));
}

// A new handle of the key to which HKEY_CLASSES_ROOT is redirected; null if it is not redirected.
HKEY OverriddenClasses() {
    HKEY classes = nullptr;
    // With an empty name the API returns the root's own number.
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, L"\\", 0, MAXIMUM_ALLOWED, &classes) != ERROR_SUCCESS) {
        return nullptr;
    }
    if (IsRedirected(classes)) {
        return classes;
    }
    RegCloseKey(classes);
    return nullptr;
}

// The API calls this instead of NtCreateKey.
NTSTATUS NTAPI CreateKeyForApi(HANDLE* key, ACCESS_MASK access, OBJECT_ATTRIBUTES* wanted, ULONG titleIndex,
                               UNICODE_STRING* keyClass, ULONG options, ULONG* disposition) {
    if (IsRootOfAView(access, *wanted)) {
        if (const HKEY overridden = OverriddenClasses()) {
            *key = overridden;
            if (disposition) {
                *disposition = REG_OPENED_EXISTING_KEY;
            }
            return 0;
        }
    }
    return api.createKey(key, access, wanted, titleIndex, keyClass, options, disposition);
}

std::uintptr_t EndOf(HMODULE module) {
    return reinterpret_cast<std::uintptr_t>(module) + ImageHeaders(module).OptionalHeader.SizeOfImage;
}

bool CloseGap() {
    const HMODULE module = GetModuleHandleW(L"kernelbase.dll");
    FARPROC* const slot = module ? FindImportSlot(module, "ntdll.dll", "NtCreateKey") : nullptr;
    if (!slot) {
        return false;
    }
    api.begin = reinterpret_cast<std::uintptr_t>(module);
    api.end = EndOf(module);
    api.createKey = reinterpret_cast<CreateKeyFunction>(reinterpret_cast<void*>(*slot));
    return WriteImportSlot(slot, reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&CreateKeyForApi)));
}

} // namespace

bool CloseGapInClassesOverride() {
    static const bool closed = CloseGap();
    return closed;
}

} // namespace keyreap
