#include "tools/selfcheck/childprogram.h"

#include "platform/core/text/text.h"
#include "platform/os/ownedhandle.h"
#include "tools/selfcheck/vocabulary.h"

namespace keyreap {

namespace {

constexpr DWORD statusOfEnded = 0xDEAD;

OwnedFile InheritedFile(const std::filesystem::path& path) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    return OwnedFile(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Ends all processes in it when its last handle is closed.
OwnedHandle NewJob() {
    OwnedHandle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    return job;
}

} // namespace

ChildEnd RunChild(std::wstring commandLine, const std::filesystem::path& output, DWORD milliseconds) {
    const OwnedFile file = InheritedFile(output);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = file.Get();
    startup.hStdError = file.Get();
    PROCESS_INFORMATION information{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                        nullptr, &startup, &information)) {
        return {GetLastError(), 0, std::nullopt};
    }
    const OwnedHandle process(information.hProcess);
    const OwnedHandle thread(information.hThread);
    const OwnedHandle job = NewJob();
    // Where this process is in a job that allows no other, as on Windows 7, the program alone is ended.
    AssignProcessToJobObject(job.Get(), process.Get());
    ResumeThread(thread.Get());
    if (WaitForSingleObject(process.Get(), milliseconds) != WAIT_OBJECT_0) {
        TerminateJobObject(job.Get(), statusOfEnded);
        TerminateProcess(process.Get(), statusOfEnded);
        return {0, information.dwProcessId, std::nullopt};
    }
    DWORD status = 0;
    GetExitCodeProcess(process.Get(), &status);
    return {0, information.dwProcessId, status};
}

std::string EndText(const ChildEnd& end) {
    constexpr DWORD firstSystemStatus = 0x80000000;
    if (end.error != 0) {
        return "error " + std::to_string(end.error);
    }
    if (!end.status) {
        return "did not end";
    }
    return *end.status < firstSystemStatus ? "status " + std::to_string(*end.status)
                                           : "status 0x" + PlainAscii(HexToText(*end.status, 8));
}

std::wstring Quoted(const std::filesystem::path& path) {
    return L"\"" + path.wstring() + L"\"";
}

} // namespace keyreap
