#include "etl/registryevent.h"
#include "tests/requests/loggertest.h"

#include <windows.h>

#include <evntrace.h>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST_F(LoggerTest, ACircularLogStaysBelowItsCeilingAndKeepsTheNewest) {
    const testsupport::ScratchKey scratch;
    LoggerSession session = Session();
    session.maximumFileSize = 1;
    session.logFileMode = EVENT_TRACE_FILE_MODE_CIRCULAR;
    ASSERT_EQ(logger.Start(session), ERROR_SUCCESS);
    const std::wstring longName(200, L'a');
    constexpr int count = 4000;
    for (int number = 0; number < count; ++number) {
        SetOne(scratch.Handle(), (longName + std::to_wstring(number)).c_str());
    }
    const RecordedLog log = Stop();
    EXPECT_LE(testsupport::FileBytes(LogFile()).size(), std::size_t{1024 * 1024});
    EXPECT_TRUE(log.Setting(longName + L"0").empty());
    EXPECT_EQ(log.Setting(longName + std::to_wstring(count - 1)).size(), 1U);
    EXPECT_GT(log.Of(registryevent::setValue, GetCurrentProcessId()).size(), 1500U);
}

} // namespace
} // namespace keyreap
