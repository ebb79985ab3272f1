#include "tests/unit/pe/versionprocess.h"

#include "platform/os/file/executablepath.h"
#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace keyreap::testsupport {

int RunVersionProgram(const std::wstring& version, const std::wstring& file, const std::wstring& query) {
    WidePath program = GetExecutablePath().Parent();
    program.Append(L"version_program.exe");
    std::wstring commandLine = L"\"" + program.Text() + L"\" " + version + L" \"" + file + L"\" " + query;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.Text().c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        nullptr, &startup, &started)) {
        ADD_FAILURE() << "version_program.exe does not start: " << GetLastError();
        return -1;
    }
    const OwnedHandle process(started.hProcess);
    const OwnedHandle thread(started.hThread);
    WaitForSingleObject(process.Get(), INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process.Get(), &status);
    return static_cast<int>(status);
}

} // namespace keyreap::testsupport
