#include "tests/requests/childmodes.h"

#include "hostlogger/requestlogger.h"

#include <gtest/gtest.h>

#include <array>

namespace keyreap {

namespace {

int SetOne(HKEY key, const std::wstring& name) {
    const DWORD data = 1;
    return RegSetValueExW(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&data),
                          sizeof(data));
}

HANDLE ToHandle(const std::wstring& digits) {
    return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(std::stoul(digits)));
}

int Hold(const std::wstring& name, const std::wstring& log, const std::wstring& eventName) {
    RequestLogger logger;
    LoggerSession session;
    session.name = name;
    session.logFile = log;
    if (const std::uint32_t status = logger.Start(session)) {
        return static_cast<int>(status);
    }
    const OwnedHandle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, eventName.c_str()));
    SetEvent(event.Get());
    Sleep(INFINITE);
    return 0;
}

int Write(const std::wstring& subkey, const std::wstring& value) {
    HKEY key = nullptr;
    const LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, subkey.c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                                           nullptr, &key, nullptr);
    const OwnedRegistryKey owned(key);
    return status == ERROR_SUCCESS ? SetOne(key, value) : status;
}

int Fetch(const std::wstring& processId, const std::wstring& handle, const std::wstring& value) {
    const OwnedHandle process(OpenProcess(PROCESS_DUP_HANDLE, FALSE, std::stoul(processId)));
    HANDLE copy = nullptr;
    if (!DuplicateHandle(process.Get(), ToHandle(handle), GetCurrentProcess(), &copy, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
        return static_cast<int>(GetLastError());
    }
    const OwnedRegistryKey key(static_cast<HKEY>(copy));
    return SetOne(key.Get(), value);
}

} // namespace

int RunAsChild(const std::vector<std::wstring>& words) {
    const std::wstring mode = words.empty() ? std::wstring() : words[0];
    if (mode == L"hold" && words.size() == 4) {
        return Hold(words[1], words[2], words[3]);
    }
    if (mode == L"write" && words.size() == 3) {
        return Write(words[1], words[2]);
    }
    if (mode == L"set" && words.size() == 3) {
        return SetOne(static_cast<HKEY>(ToHandle(words[1])), words[2]);
    }
    if (mode == L"fetch" && words.size() == 4) {
        return Fetch(words[1], words[2], words[3]);
    }
    return ERROR_BAD_ARGUMENTS;
}

Child StartChild(const std::wstring& words, bool inherits) {
    std::array<wchar_t, MAX_PATH> program{};
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    std::wstring commandLine = L"\"" + std::wstring(program.data()) + L"\" child " + words;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(CreateProcessW(program.data(), commandLine.data(), nullptr, nullptr, inherits, 0, nullptr,
                               nullptr, &startup, &started));
    CloseHandle(started.hThread);
    return {OwnedHandle(started.hProcess), started.dwProcessId};
}

DWORD RunChild(const std::wstring& words, bool inherits) {
    const Child child = StartChild(words, inherits);
    WaitForSingleObject(child.process.Get(), INFINITE);
    DWORD status = 0;
    EXPECT_TRUE(GetExitCodeProcess(child.process.Get(), &status));
    EXPECT_EQ(status, 0U) << words;
    return child.id;
}

} // namespace keyreap
