#include "etl/etlfile.h"
#include "etl/etlreader.h"
#include "etl/registryevent.h"
#include "tests/requests/childmodes.h"
#include "tests/requests/loggertest.h"

#include <windows.h>

#include <evntrace.h>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::int64_t millisecond = 10'000; // of Wine's counter: the resolution of the request log's clock
constexpr std::uint32_t statusNotFound = 0xC0000034; // STATUS_OBJECT_NAME_NOT_FOUND, ntstatus.h

std::int64_t Counter() {
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    return now.QuadPart;
}

std::int64_t SystemTime() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    LARGE_INTEGER time{};
    time.LowPart = now.dwLowDateTime;
    time.HighPart = static_cast<LONG>(now.dwHighDateTime);
    return time.QuadPart;
}

class CountingListener : public EtlListener {
public:
    void OnEvent(const EtlEvent&) override { ++events; }

    std::size_t events = 0;
};

class LogContent : public LoggerTest {
protected:
    testsupport::ScratchKey scratch;
    const std::wstring scratchPath = currentUser + testsupport::ScratchKey::path;
};

TEST_F(LogContent, ALogWithoutRequestsIsValid) {
    Start();
    const RecordedLog log = Stop();
    EXPECT_TRUE(log.Of(registryevent::setValue, GetCurrentProcessId()).empty());
}

TEST_F(LogContent, TheHeaderHasTheSessionAndItsTimes) {
    LoggerSession session = Session();
    session.maximumFileSize = 20;
    session.logFileMode = EVENT_TRACE_FILE_MODE_CIRCULAR;
    const std::int64_t before = SystemTime();
    const std::int64_t counterBefore = Counter();
    ASSERT_EQ(logger.Start(session), ERROR_SUCCESS);
    const RecordedLog log = Stop();
    const independent::TraceLogfileHeader& header = log.log.header;
    EXPECT_EQ(log.log.loggerName, sessionName);
    EXPECT_EQ(log.log.logFileName, LogFile());
    EXPECT_EQ(header.PointerSize, 8U);
    EXPECT_EQ(header.MaximumFileSize, 20U);
    EXPECT_EQ(header.LogFileMode, DWORD{EVENT_TRACE_FILE_MODE_CIRCULAR});
    EXPECT_EQ(header.ReservedFlags, 1U);
    LARGE_INTEGER frequency{};
    QueryPerformanceFrequency(&frequency);
    EXPECT_EQ(header.PerfFreq, frequency.QuadPart);
    EXPECT_GE(header.StartTime, before);
    EXPECT_GE(log.log.buffers.at(0).records.at(0).header.SystemTime, counterBefore);
    EXPECT_GE(header.EndTime, header.StartTime);
    EXPECT_LE(header.EndTime, SystemTime());
    EXPECT_EQ(header.EventsLost, 0U);
    EXPECT_EQ(header.BuffersWritten, log.log.buffers.size());
}

TEST_F(LogContent, AnEventHasItsProcessItsThreadItsTimeAndItsStatus) {
    Start();
    const std::int64_t before = Counter();
    SetOne(scratch.Handle(), L"Value");
    const RecordedLog log = Stop();
    const auto events = log.Setting(L"Value");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].processId, GetCurrentProcessId());
    EXPECT_EQ(events[0].threadId, GetCurrentThreadId());
    EXPECT_GE(events[0].time, before - millisecond);
    EXPECT_LE(events[0].time, Counter());
    EXPECT_EQ(events[0].status, 0U);
    EXPECT_EQ(events[0].path, scratchPath);
}

TEST_F(LogContent, OnlyRequestsBetweenStartAndStopAreInIt) {
    SetOne(scratch.Handle(), L"before");
    Start();
    SetOne(scratch.Handle(), L"during");
    EXPECT_EQ(logger.Stop(), ERROR_SUCCESS);
    SetOne(scratch.Handle(), L"after");
    const RecordedLog log(LogFile());
    EXPECT_TRUE(log.Setting(L"before").empty());
    EXPECT_EQ(log.Setting(L"during").size(), 1U);
    EXPECT_TRUE(log.Setting(L"after").empty());
}

TEST_F(LogContent, ASecondSessionBeginsWhereItStarts) {
    Start();
    SetOne(scratch.Handle(), L"first");
    Stop();
    SetOne(scratch.Handle(), L"between");
    Start();
    SetOne(scratch.Handle(), L"second");
    const RecordedLog log = Stop();
    EXPECT_TRUE(log.Setting(L"first").empty());
    EXPECT_TRUE(log.Setting(L"between").empty());
    EXPECT_EQ(log.Setting(L"second").size(), 1U);
}

TEST_F(LogContent, EveryOperationHasItsEvent) {
    Start();
    HKEY key = nullptr;
    RegCreateKeyExW(scratch.Handle(), L"A", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    SetOne(key, L"Value");
    RegQueryValueExW(key, L"Value", nullptr, nullptr, nullptr, nullptr);
    RegDeleteValueW(key, L"Value");
    RegCloseKey(key);
    RegOpenKeyExW(scratch.Handle(), L"A", 0, DELETE, &key);
    RegCloseKey(key);
    RegDeleteKeyW(scratch.Handle(), L"A");
    const RecordedLog log = Stop();
    for (const int type : {registryevent::createKey, registryevent::setValue, registryevent::queryValue,
                           registryevent::deleteValue, registryevent::close, registryevent::openKey,
                           registryevent::deleteKey}) {
        const auto events = log.Of(type, GetCurrentProcessId());
        ASSERT_FALSE(events.empty()) << type;
        EXPECT_EQ(events[0].path, scratchPath + L"\\A") << type;
        EXPECT_EQ(events[0].status, 0U) << type;
    }
}

TEST_F(LogContent, AFailureKeepsItsStatus) {
    Start();
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(scratch.Handle(), L"Missing", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteValueW(scratch.Handle(), L"No value"), ERROR_FILE_NOT_FOUND);
    const RecordedLog log = Stop();
    const auto opened = log.Of(registryevent::openKey, GetCurrentProcessId());
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_EQ(opened[0].status, statusNotFound);
    EXPECT_EQ(opened[0].path, scratchPath + L"\\Missing");
    const auto deleted = log.Of(registryevent::deleteValue, GetCurrentProcessId());
    ASSERT_EQ(deleted.size(), 1U);
    EXPECT_EQ(deleted[0].status, statusNotFound);
}

TEST_F(LogContent, TheCreationOfAnExistingKeyHasSucceeded) {
    scratch.Make(L"A");
    Start();
    scratch.Make(L"A");
    const RecordedLog log = Stop();
    const auto created = log.Of(registryevent::createKey, GetCurrentProcessId());
    ASSERT_EQ(created.size(), 1U);
    EXPECT_EQ(created[0].status, 0U);
    EXPECT_EQ(created[0].path, scratchPath + L"\\A");
}

TEST_F(LogContent, NamesOfAnyCharactersAreKept) {
    const std::wstring name = L"\x00E4\x6F22\xD83D\xDE00 \"quoted\" [x] {y}, z=1 (a) \\ \x1b\x01"
                              L"7";
    scratch.Make(L"key " + name.substr(0, name.find(L'\\')));
    Start();
    SetOne(scratch.Handle(), name.c_str());
    scratch.Make(L"key " + name.substr(0, name.find(L'\\')));
    const RecordedLog log = Stop();
    EXPECT_EQ(log.Setting(name).size(), 1U);
    EXPECT_EQ(log.Of(registryevent::createKey, GetCurrentProcessId()).at(0).path,
              scratchPath + L"\\key " + name.substr(0, name.find(L'\\')));
}

TEST_F(LogContent, OtherProcessesAreInItFromTheirOwnCodeOn) {
    Start();
    const DWORD child = RunChild(L"write Software\\KeyreapScratch\\Child Value");
    const RecordedLog log = Stop();
    const auto set = log.Setting(L"Value");
    ASSERT_EQ(set.size(), 1U);
    EXPECT_EQ(set[0].processId, child);
    EXPECT_EQ(set[0].path, scratchPath + L"\\Child");
    EXPECT_EQ(log.Of(registryevent::createKey, child).size(), 1U);
    EXPECT_EQ(log.Of(registryevent::setValue, child).size(), 1U);
}

TEST_F(LogContent, TheReaderReadsEveryEvent) {
    Start();
    for (int count = 0; count < 2000; ++count) {
        SetOne(scratch.Handle(), L"Value");
    }
    const RecordedLog log = Stop();
    EXPECT_EQ(log.Setting(L"Value").size(), 2000U);
    EtlFileSource source{std::filesystem::path(LogFile())};
    EtlReader reader(source);
    ASSERT_TRUE(reader.Open());
    CountingListener counting;
    EXPECT_TRUE(reader.Process(counting));
    EXPECT_EQ(counting.events, log.log.Events().size() + 1);
}

} // namespace
} // namespace keyreap
