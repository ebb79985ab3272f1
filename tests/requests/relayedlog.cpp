#include "tests/requests/relayedlog.h"

#include "hostlogger/requestlog.h"

#include <gtest/gtest.h>

#include <vector>

namespace keyreap {

namespace {

OwnedFile OpenShared(const std::wstring& path, DWORD access, DWORD disposition) {
    OwnedFile file(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                               nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_TRUE(file.Valid());
    return file;
}

OwnedFile OpenSource(RelayedLog::Part part) {
    OwnedFile log = OpenShared(RequestLogPath(), GENERIC_READ, OPEN_EXISTING);
    if (part == RelayedLog::Part::fromNowOn) {
        SetFilePointer(log.Get(), 0, nullptr, FILE_END);
    }
    return log;
}

} // namespace

RelayedLog::RelayedLog(const std::wstring& copyPath, Part part)
    : source(OpenSource(part)), target(OpenShared(copyPath, GENERIC_WRITE, CREATE_ALWAYS)),
      end(CreateEventW(nullptr, TRUE, FALSE, nullptr)), lose(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      lost(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      thread(CreateThread(nullptr, 0, Run, this, 0, nullptr)) {}

RelayedLog::~RelayedLog() {
    Leave();
}

void RelayedLog::Leave() {
    SetEvent(end.Get());
    WaitForSingleObject(thread.Get(), INFINITE);
}

void RelayedLog::LoseLines() {
    SetEvent(lose.Get());
    WaitForSingleObject(lost.Get(), INFINITE);
}

void RelayedLog::Write(std::string_view text) {
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(target.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
}

DWORD WINAPI RelayedLog::Run(void* self) {
    static_cast<RelayedLog*>(self)->Relay();
    return 0;
}

void RelayedLog::Relay() {
    while (WaitForSingleObject(end.Get(), 1) == WAIT_TIMEOUT) {
        CopyLines();
        if (WaitForSingleObject(lose.Get(), 0) == WAIT_OBJECT_0) {
            Write("lost\n");
            SetEvent(lost.Get());
        }
    }
}

void RelayedLog::CopyLines() {
    std::vector<char> piece(64 * 1024);
    DWORD got = 0;
    while (ReadFile(source.Get(), piece.data(), static_cast<DWORD>(piece.size()), &got, nullptr) && got > 0) {
        begun.append(piece.data(), got);
        const std::size_t complete = begun.rfind('\n') + 1;
        Write(std::string_view(begun).substr(0, complete));
        begun.erase(0, complete);
    }
}

} // namespace keyreap
