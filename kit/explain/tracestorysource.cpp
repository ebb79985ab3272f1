#include "kit/explain/tracestorysource.h"

#include "platform/os/file/executablepath.h"
#include "platform/os/file/temporaryfiles.h"
#include "trace/tracereader.h"

namespace keyreap {

namespace {

constexpr wchar_t remedies[] = L"; docs/windows.md names the causes, and what to do";

} // namespace

TraceStorySource::TraceStorySource(EventTracing& tracing, bool tracesCapture)
    : tracing(tracing), ownTracing(tracing), tracesCapture(tracesCapture),
      story(GetCurrentProcessId(), GetExecutablePath().FileName(), sizeof(void*) == 4) {
    ownTracing.AddProcesses();
}

TraceStorySource::~TraceStorySource() {
    EndOwnTrace();
}

bool TraceStorySource::Begin(std::wstring& failure) {
    if (!tracesCapture) {
        return true;
    }
    ownLog = CreateTempFileWithExtension(L"exp", L"etl").ExtendedLengthForm();
    ownTrace.emplace(ownLog, kernelLoggerSession, ownTracing);
    const ULONG status = ownTrace->Start();
    if (status != ERROR_SUCCESS) {
        EndOwnTrace();
        failure = L"the kernel logger can't be started (" + std::to_wstring(status) + L")" + remedies;
    }
    return status == ERROR_SUCCESS;
}

void TraceStorySource::OnRead(const std::wstring& logFile) {
    TraceReader reader(tracing);
    reader.AddHandler(story);
    isRead = reader.Read(logFile);
}

bool TraceStorySource::End(std::wstring& failure) {
    if (ownTrace) {
        ownTrace->Stop();
        OnRead(ownLog);
        EndOwnTrace();
    }
    if (!isRead) {
        failure = std::wstring(L"there is no trace of the capture that can be read") + remedies;
    }
    return isRead;
}

void TraceStorySource::EndOwnTrace() {
    if (ownTrace) {
        ownTrace.reset();
        DeleteFileW(ownLog.c_str());
    }
}

} // namespace keyreap
