#include "hostlogger/requestlogger.h"

#include "etl/etlfile.h"
#include "etl/etlwriter.h"
#include "hostlogger/keptsession.h"
#include "hostlogger/nativeregistry.h"
#include "hostlogger/requestrecorder.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace keyreap {

namespace {

std::int64_t PerformanceCounter() {
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    return now.QuadPart;
}

std::int64_t SystemTime() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(now.dwHighDateTime) << 32) |
                                     now.dwLowDateTime);
}

EtlLogHeader HeaderOf(const LoggerSession& session, std::int64_t startSystemTime) {
    LARGE_INTEGER frequency{};
    QueryPerformanceFrequency(&frequency);
    EtlLogHeader header;
    header.loggerName = session.name;
    header.logFileName = session.logFile;
    header.maximumFileSize = session.maximumFileSize;
    header.logFileMode = session.logFileMode;
    header.perfFreq = frequency.QuadPart;
    header.startTime = startSystemTime;
    return header;
}

// The mutex that represents a session of this name, or null with the system's error if such a session runs.
OwnedHandle TakeSession(std::wstring name) {
    std::ranges::replace(name, L'\\', L'/');
    OwnedHandle mutex(CreateMutexW(nullptr, FALSE, (L"Global\\Keyreap logger " + name).c_str()));
    if (mutex.Valid() && GetLastError() == ERROR_ALREADY_EXISTS) {
        mutex = OwnedHandle();
        SetLastError(ERROR_ALREADY_EXISTS);
    }
    return mutex;
}

// The file exists from the start, as on Windows, but is open only while it is written, so that no child of a
// target inherits it.
DWORD MakeFile(const std::wstring& path) {
    const OwnedFile file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file.Valid() ? ERROR_SUCCESS : GetLastError();
}

} // namespace

std::uint32_t RequestLogger::Start(const LoggerSession& asked) {
    if (!requests.Open()) {
        return ERROR_NOT_SUPPORTED;
    }
    if (requests.Host().startStatus != ERROR_SUCCESS) {
        return requests.Host().startStatus;
    }
    Running starting;
    starting.started.session = asked;
    if (const std::uint32_t status = Claim(starting); status != ERROR_SUCCESS) {
        return status;
    }
    const std::uint32_t status = running ? ERROR_NO_SYSTEM_RESOURCES : Begin(starting.started);
    if (status != ERROR_SUCCESS) {
        GiveUp(starting);
        return status;
    }
    running = std::move(starting);
    return ERROR_SUCCESS;
}

// Makes the session the only one of its name.
std::uint32_t RequestLogger::Claim(Running& starting) const {
    const std::wstring& name = starting.started.session.name;
    if (requests.Host().outlives) {
        return KeptSession(name).Create();
    }
    starting.owner = TakeSession(name);
    return starting.owner.Valid() ? ERROR_SUCCESS : GetLastError();
}

void RequestLogger::GiveUp(const Running& starting) const {
    if (requests.Host().outlives) {
        KeptSession(starting.started.session.name).End();
    }
}

std::uint32_t RequestLogger::Begin(StartedSession& starting) {
    const std::wstring& logFile = starting.session.logFile;
    if (const DWORD status = MakeFile(logFile); status != ERROR_SUCCESS) {
        return status;
    }
    if (const std::uint32_t status = CatchUp(nullptr); status != ERROR_SUCCESS) {
        DeleteFileW(logFile.c_str());
        return status;
    }
    starting.startMark = requests.LastMark();
    starting.startTime = PerformanceCounter();
    starting.startSystemTime = SystemTime();
    if (requests.Host().outlives && !KeptSession(starting.session.name).Store(starting)) {
        DeleteFileW(logFile.c_str());
        return ERROR_DISK_FULL;
    }
    return ERROR_SUCCESS;
}

// Reads all requests up to now. After a success every open key is known.
std::uint32_t RequestLogger::CatchUp(KeyRequestListener* listener) {
    if (!requests.ReadToNow(listener)) {
        return ERROR_TIMEOUT;
    }
    return requests.IsComplete() ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

std::uint32_t RequestLogger::Stop() {
    if (!running) {
        return ERROR_WMI_INSTANCE_NOT_FOUND;
    }
    const Running ended = std::move(*running);
    running.reset();
    if (requests.Host().outlives && !KeptSession(ended.started.session.name).End()) {
        return ERROR_WMI_INSTANCE_NOT_FOUND; // another process has stopped it
    }
    return WriteLog(ended.started);
}

std::uint32_t RequestLogger::StopByName(const std::wstring& name) {
    const KeptSession kept(name);
    const std::optional<StartedSession> left = kept.Load();
    if (!kept.End()) {
        return ERROR_WMI_INSTANCE_NOT_FOUND;
    }
    if (!left) {
        return ERROR_SUCCESS; // its process ended while it started the session: nothing was recorded
    }
    if (!requests.Open()) {
        return ERROR_NOT_SUPPORTED;
    }
    return requests.ReadTo(left->startMark, nullptr) ? WriteLog(*left) : ERROR_TIMEOUT;
}

std::uint32_t RequestLogger::WriteLog(const StartedSession& ended) {
    const Strictness& host = requests.Host();
    EtlLogHeader header = HeaderOf(ended.session, ended.startSystemTime);
    header.eventsLost = host.lostEvents;
    EtlFileSink sink{std::filesystem::path(ended.session.logFile)};
    EtlWriter writer(sink, header);
    const ReportedNames names(host, host.user.empty() ? std::wstring() : CurrentUserKey());
    RequestRecorder recorder(writer, requests.Facts(), ended.startTime, names);
    if (ended.session.logsProcesses) {
        recorder.RecordProcesses();
    }
    writer.Begin(ended.startTime, GetCurrentProcessId(), GetCurrentThreadId());
    const std::uint32_t status = CatchUp(&recorder);
    recorder.RunDown(requests.Tracker());
    const bool finished = writer.Finish(SystemTime());
    const bool written = sink.Close() && finished;
    eventsLost = writer.EventsLost();
    return status == ERROR_SUCCESS && !written ? ERROR_DISK_FULL : status;
}

} // namespace keyreap
