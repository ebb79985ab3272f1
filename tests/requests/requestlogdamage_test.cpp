#include "tests/requests/loggertest.h"
#include "tests/requests/relayedlog.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// A logger that reads a copy of the request log.
class RequestLogDamage : public LoggerTest {
protected:
    RequestLogDamage() : relay(folder.File(L"copy.log")), relayed(folder.File(L"copy.log")) {}

    RelayedLog relay;
    RequestLogger relayed;
    testsupport::ScratchKey scratch;
};

TEST_F(RequestLogDamage, AnIntactCopyHasNone) {
    ASSERT_EQ(relayed.Start(Session()), ERROR_SUCCESS);
    SetOne(scratch.Handle(), L"Value");
    EXPECT_EQ(relayed.Stop(), ERROR_SUCCESS);
    EXPECT_EQ(RecordedLog(LogFile()).Setting(L"Value").size(), 1U);
}

TEST_F(RequestLogDamage, MissingLinesMakeTheSessionAFailureThatKeepsTheRest) {
    ASSERT_EQ(relayed.Start(Session()), ERROR_SUCCESS);
    SetOne(scratch.Handle(), L"First");
    relay.LoseLines();
    SetOne(scratch.Handle(), L"Second");
    EXPECT_EQ(relayed.Stop(), DWORD{ERROR_DISK_FULL});
    const RecordedLog log(LogFile());
    EXPECT_EQ(log.Setting(L"First").size(), 1U);
    EXPECT_EQ(log.Setting(L"Second").size(), 1U);
}

TEST_F(RequestLogDamage, AfterALogWithMissingLinesNothingStarts) {
    ASSERT_EQ(relayed.Start(Session()), ERROR_SUCCESS);
    EXPECT_EQ(relayed.Stop(), ERROR_SUCCESS);
    DeleteFileW(LogFile().c_str());
    relay.LoseLines();
    EXPECT_EQ(relayed.Start(Session()), DWORD{ERROR_DISK_FULL});
    EXPECT_FALSE(testsupport::Exists(LogFile()));
    EXPECT_EQ(relayed.Start(Session()), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(logger.Start(Session()), ERROR_SUCCESS);
}

TEST_F(RequestLogDamage, LinesThatWereMissingBeforeTheFirstStartDoNotMatter) {
    relay.LoseLines();
    ASSERT_EQ(relayed.Start(Session()), ERROR_SUCCESS);
    SetOne(scratch.Handle(), L"Value");
    EXPECT_EQ(relayed.Stop(), ERROR_SUCCESS);
    EXPECT_EQ(RecordedLog(LogFile()).Setting(L"Value").size(), 1U);
}

TEST_F(RequestLogDamage, ALogWithoutItsBeginningHasTheKeysThatWereOpenInItsSummary) {
    const RelayedLog late(folder.File(L"late.log"), RelayedLog::Part::fromNowOn);
    RequestLogger lateLogger(folder.File(L"late.log"));
    ASSERT_EQ(lateLogger.Start(Session()), ERROR_SUCCESS);
    SetOne(scratch.Handle(), L"Value");
    EXPECT_EQ(lateLogger.Stop(), ERROR_SUCCESS);
    EXPECT_EQ(RecordedLog(LogFile()).Setting(L"Value").size(), 1U);
}

// The next two take the program's own timeout.
TEST_F(RequestLogDamage, ALogThatStopsGrowingEndsTheSession) {
    ASSERT_EQ(relayed.Start(Session()), ERROR_SUCCESS);
    relay.Leave();
    EXPECT_EQ(relayed.Stop(), DWORD{ERROR_TIMEOUT});
    EXPECT_NO_THROW(RecordedLog{LogFile()});
    EXPECT_EQ(logger.Start(Session()), ERROR_SUCCESS);
}

TEST_F(RequestLogDamage, ALogThatDoesNotGrowStartsNothing) {
    relay.Leave();
    EXPECT_EQ(relayed.Start(Session()), DWORD{ERROR_TIMEOUT});
    EXPECT_FALSE(testsupport::Exists(LogFile()));
    EXPECT_EQ(logger.Start(Session()), ERROR_SUCCESS);
}

} // namespace
} // namespace keyreap
