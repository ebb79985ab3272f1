// Writes to its keys through every kind of handle: copied, moved, inherited, shared by threads, deleted.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <string_view>
#include <thread>
#include <vector>

namespace {

using keyreap::samples::KeyWriter;

void SetText(HKEY key, const wchar_t* name, std::wstring_view text) {
    const std::wstring terminated(text);
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(terminated.c_str()),
                   static_cast<DWORD>((terminated.size() + 1) * sizeof(wchar_t)));
}

HKEY Copy(HKEY key, DWORD options) {
    HANDLE copy = nullptr;
    DuplicateHandle(GetCurrentProcess(), key, GetCurrentProcess(), &copy, 0, FALSE, options);
    return reinterpret_cast<HKEY>(copy);
}

HKEY Create(HKEY parent, const wchar_t* path) {
    HKEY key = nullptr;
    RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return key;
}

void WriteByCopies(HKEY top) {
    HKEY first = Create(top, L"Copied");
    HKEY second = Copy(first, DUPLICATE_SAME_ACCESS);
    RegCloseKey(first);
    SetText(second, L"", L"by a copy");
    HKEY moved = Copy(second, DUPLICATE_SAME_ACCESS | DUPLICATE_CLOSE_SOURCE);
    SetText(Create(moved, L"Below a\\deep\\copy"), L"", L"by a moved copy");
    RegCloseKey(moved);
}

// The system uses the number of a closed handle again at once.
void WriteByReusedHandles(HKEY top) {
    for (const wchar_t* name : {L"Reused one", L"Reused two", L"Reused three"}) {
        HKEY key = Create(top, name);
        SetText(key, L"", name);
        RegCloseKey(key);
    }
}

void WriteInThreads(HKEY top) {
    std::vector<std::thread> threads;
    for (const wchar_t* name : {L"Thread one", L"Thread two", L"Thread three", L"Thread four"}) {
        threads.emplace_back([top, name] {
            for (int round = 0; round < 50; ++round) {
                const KeyWriter key(top, name);
                key.SetText(std::to_wstring(round % 3), name);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void RunChild(HKEY top) {
    HKEY inherited = Create(top, L"Inherited");
    SetHandleInformation(inherited, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    std::wstring line = L"handles.exe " + std::to_wstring(reinterpret_cast<ULONG_PTR>(inherited));
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION child = {};
    const std::wstring self = keyreap::samples::ModulePathOf(reinterpret_cast<const void*>(&RunChild));
    if (CreateProcessW(self.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &child)) {
        WaitForSingleObject(child.hProcess, INFINITE);
        CloseHandle(child.hThread);
        CloseHandle(child.hProcess);
    }
    SetText(inherited, L"parent", L"by the parent");
    RegCloseKey(inherited);
}

void DeleteThroughAnOpenHandle(HKEY top) {
    HKEY key = Create(top, L"Deleted while open");
    RegDeleteKeyW(top, L"Deleted while open");
    SetText(key, L"", L"fails");
    RegCloseKey(key);
    SetText(Create(top, L"Made again"), L"old", L"gone with its key");
    RegDeleteKeyW(top, L"Made again");
    SetText(Create(top, L"Made again"), L"new", L"there");
}

void CopyAndDeleteTrees(HKEY top) {
    HKEY from = Create(top, L"Tree");
    SetText(from, L"", L"root of the tree");
    SetText(Create(from, L"branch\\leaf"), L"", L"leaf");
    RegCopyTreeW(top, L"Tree", Create(top, L"Copy of the tree"));
    RegDeleteTreeW(top, L"Tree");
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return 1;
    }
    if (arguments[1] != std::wstring_view(L"/REGSERVER")) {
        SetText(reinterpret_cast<HKEY>(std::stoull(arguments[1])), L"child", L"by the child");
        return 0;
    }
    HKEY top = Create(HKEY_LOCAL_MACHINE, L"Software\\KeyreapHandles");
    WriteByCopies(top);
    WriteByReusedHandles(top);
    WriteInThreads(top);
    RunChild(top);
    DeleteThroughAnOpenHandle(top);
    CopyAndDeleteTrees(top);
    return 0;
}
