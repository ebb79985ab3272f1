#include "tests/requests/childmodes.h"
#include "tests/requests/loggertest.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// A process that runs a session of this name.
class Holder {
public:
    explicit Holder(const std::wstring& name, const std::wstring& log)
        : event(CreateEventW(nullptr, TRUE, FALSE, L"Keyreap test holder")),
          child(StartChild(L"hold \"" + name + L"\" \"" + log + L"\" \"Keyreap test holder\"")) {
        const HANDLE either[] = {event.Get(), child.process.Get()};
        EXPECT_EQ(WaitForMultipleObjects(2, either, FALSE, INFINITE), WAIT_OBJECT_0);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    ~Holder() { Kill(); }

    void Kill() {
        TerminateProcess(child.process.Get(), 1);
        WaitForSingleObject(child.process.Get(), INFINITE);
    }

private:
    OwnedHandle event;
    Child child;
};

using LoggerSessionTest = LoggerTest;

TEST_F(LoggerSessionTest, NothingStartsWithoutARequestLog) {
    RequestLogger without(folder.File(L"none.log"));
    EXPECT_EQ(without.Start(Session()), ERROR_NOT_SUPPORTED);
    EXPECT_FALSE(testsupport::Exists(LogFile()));
    EXPECT_EQ(logger.Start(Session()), ERROR_SUCCESS);
}

TEST_F(LoggerSessionTest, TheLogFileIsThereFromTheStart) {
    Start();
    EXPECT_TRUE(testsupport::Exists(LogFile()));
}

TEST_F(LoggerSessionTest, ASecondSessionOfTheNameIsRefused) {
    Start();
    EXPECT_EQ(logger.Start(Session()), ERROR_ALREADY_EXISTS);
    RequestLogger second;
    EXPECT_EQ(second.Start(Session()), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(logger.Stop(), ERROR_SUCCESS);
}

TEST_F(LoggerSessionTest, ARefusedStartLeavesTheRunningSessionsLogAlone) {
    Start();
    testsupport::WriteBytes(LogFile(), "as it was");
    RequestLogger second;
    EXPECT_EQ(second.Start(Session()), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(testsupport::FileBytes(LogFile()), "as it was");
}

TEST_F(LoggerSessionTest, ASessionOfAnotherNameRunsInAnotherLogger) {
    Start();
    EXPECT_EQ(logger.Start(Session(L"Keyreap other logger")), ERROR_NO_SYSTEM_RESOURCES);
    RequestLogger second;
    LoggerSession other = Session(L"Keyreap other logger");
    other.logFile = folder.File(L"b.etl");
    EXPECT_EQ(second.Start(other), ERROR_SUCCESS);
    EXPECT_EQ(second.Stop(), ERROR_SUCCESS);
    EXPECT_EQ(logger.Stop(), ERROR_SUCCESS);
}

TEST_F(LoggerSessionTest, ASessionOfAnotherProcessIsRespected) {
    const Holder holder(sessionName, folder.File(L"b.etl"));
    EXPECT_EQ(logger.Start(Session()), ERROR_ALREADY_EXISTS);
}

TEST_F(LoggerSessionTest, TheNameOfADeadProcesssSessionIsFree) {
    Holder holder(sessionName, folder.File(L"b.etl"));
    holder.Kill();
    EXPECT_EQ(logger.Start(Session()), ERROR_SUCCESS);
}

TEST_F(LoggerSessionTest, TheNameOfAStoppedSessionIsFree) {
    Start();
    Stop();
    Start();
    Stop();
}

TEST_F(LoggerSessionTest, TheNameOfADestroyedLoggersSessionIsFree) {
    {
        RequestLogger first;
        ASSERT_EQ(first.Start(Session()), ERROR_SUCCESS);
    }
    EXPECT_EQ(logger.Start(Session()), ERROR_SUCCESS);
}

TEST_F(LoggerSessionTest, AnyNameIsAccepted) {
    for (const wchar_t* name : {L"", L"back\\slash", L"NT Kernel Logger"}) {
        EXPECT_EQ(logger.Start(Session(name)), ERROR_SUCCESS) << name;
        EXPECT_EQ(logger.Stop(), ERROR_SUCCESS) << name;
    }
}

TEST_F(LoggerSessionTest, OnlyARunningSessionIsStopped) {
    EXPECT_EQ(logger.Stop(), DWORD{ERROR_WMI_INSTANCE_NOT_FOUND});
    Start();
    Stop();
    EXPECT_EQ(logger.Stop(), DWORD{ERROR_WMI_INSTANCE_NOT_FOUND});
}

TEST_F(LoggerSessionTest, ALogFileThatCannotBeCreatedStartsNothing) {
    LoggerSession session = Session();
    session.logFile = folder.File(L"missing\\a.etl");
    EXPECT_EQ(logger.Start(session), DWORD{ERROR_PATH_NOT_FOUND});
    Start();
}

TEST_F(LoggerSessionTest, ALogFileThatCannotBeWrittenAtTheEndIsAFailure) {
    Start();
    const OwnedFile inTheWay(
        CreateFileW(LogFile().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(inTheWay.Valid());
    EXPECT_EQ(logger.Stop(), DWORD{ERROR_DISK_FULL});
}

} // namespace
} // namespace keyreap
