#include "trace/eventtracing.h"

#include "trace/registrytrace.h"

#include <gtest/gtest.h>

#include <typeinfo>

namespace keyreap {
namespace {

bool RunsOnWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

TEST(HostEventTracing, IsTheSystemsOwnExceptOnWine) {
    const EventTracing& host = HostEventTracing();
    EXPECT_EQ(typeid(host) == typeid(NoEventTracing), RunsOnWine());
    EXPECT_EQ(typeid(host) == typeid(SystemEventTracing), !RunsOnWine());
}

TEST(HostEventTracing, IsOneObject) {
    EXPECT_EQ(&HostEventTracing(), &HostEventTracing());
}

TEST(NoEventTracing, NothingStarts) {
    NoEventTracing none;
    RegistryTrace trace(L"C:\\log", kernelLoggerSession, none);
    EXPECT_EQ(trace.Start(), 50U);
    EXPECT_FALSE(trace.Running());
}

TEST(NoEventTracing, StartLeavesTheHandleAlone) {
    NoEventTracing none;
    TRACEHANDLE session = 7;
    EVENT_TRACE_PROPERTIES properties{};
    EXPECT_EQ(none.Start(session, L"", properties), ULONG{ERROR_NOT_SUPPORTED});
    EXPECT_EQ(session, 7U);
}

TEST(NoEventTracing, NothingStopsOpensRunsOrCloses) {
    NoEventTracing none;
    EVENT_TRACE_PROPERTIES properties{};
    EVENT_TRACE_LOGFILEW log{};
    EXPECT_EQ(none.Control(1, L"", properties, EVENT_TRACE_CONTROL_STOP), ULONG{ERROR_NOT_SUPPORTED});
    EXPECT_EQ(none.Open(log), INVALID_PROCESSTRACE_HANDLE);
    EXPECT_EQ(none.Process(1), ULONG{ERROR_NOT_SUPPORTED});
    EXPECT_EQ(none.Close(1), ULONG{ERROR_INVALID_HANDLE});
}

// The system's own entry points are asked for what fails on every host.
TEST(SystemEventTracing, PassesTheSystemsFailuresOn) {
    SystemEventTracing system;
    EVENT_TRACE_LOGFILEW log{};
    wchar_t path[] = L"C:\\there is no such log.etl";
    log.LogFileName = path;
    const TRACEHANDLE opened = system.Open(log);
    EXPECT_EQ(static_cast<ULONG_PTR>(opened), ~ULONG_PTR{0});
    EXPECT_NE(system.Process(opened), ULONG{ERROR_SUCCESS});
    EXPECT_EQ(system.Close(opened), CloseTrace(opened));
}

} // namespace
} // namespace keyreap
