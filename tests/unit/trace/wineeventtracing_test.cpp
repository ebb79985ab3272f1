#include "trace/registrytrace.h"
#include "trace/wineeventtracing.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// The session of these tests has no request log.
TEST(WineEventTracing, NothingStartsWithoutARequestLog) {
    WineEventTracing tracing;
    RegistryTrace trace(L"C:\\log", kernelLoggerSession, tracing);
    EXPECT_EQ(trace.Start(), 50U);
    EXPECT_FALSE(trace.Running());
}

TEST(WineEventTracing, AFailedStartLeavesTheHandleAlone) {
    WineEventTracing tracing;
    TRACEHANDLE session = 7;
    EVENT_TRACE_PROPERTIES properties{};
    EXPECT_EQ(tracing.Start(session, L"", properties), ULONG{ERROR_NOT_SUPPORTED});
    EXPECT_EQ(session, 7U);
}

TEST(WineEventTracing, ASessionThatDoesNotRunIsNotStopped) {
    WineEventTracing tracing;
    EVENT_TRACE_PROPERTIES properties{};
    EXPECT_EQ(tracing.Control(1, L"", properties, EVENT_TRACE_CONTROL_STOP),
              ULONG{ERROR_WMI_INSTANCE_NOT_FOUND});
}

TEST(WineEventTracing, StopIsTheOnlyControl) {
    WineEventTracing tracing;
    EVENT_TRACE_PROPERTIES properties{};
    EXPECT_EQ(tracing.Control(1, L"", properties, EVENT_TRACE_CONTROL_QUERY), ULONG{ERROR_NOT_SUPPORTED});
}

TEST(WineEventTracing, ALogWithoutANameDoesNotOpen) {
    WineEventTracing tracing;
    EVENT_TRACE_LOGFILEW log{};
    EXPECT_EQ(tracing.Open(log), INVALID_PROCESSTRACE_HANDLE);
}

TEST(WineEventTracing, AMissingLogDoesNotOpen) {
    WineEventTracing tracing;
    EVENT_TRACE_LOGFILEW log{};
    wchar_t path[] = L"C:\\there is no such log.etl";
    log.LogFileName = path;
    EXPECT_EQ(tracing.Open(log), INVALID_PROCESSTRACE_HANDLE);
}

TEST(WineEventTracing, ALogThatIsNotOpenIsNeitherProcessedNorClosed) {
    WineEventTracing tracing;
    EXPECT_EQ(tracing.Process(1), ULONG{ERROR_INVALID_HANDLE});
    EXPECT_EQ(tracing.Close(1), ULONG{ERROR_INVALID_HANDLE});
    EXPECT_EQ(tracing.Close(0), ULONG{ERROR_INVALID_HANDLE});
}

} // namespace
} // namespace keyreap
