#include "trace/eventtracing.h"
#include "trace/wineeventtracing.h"

#include <gtest/gtest.h>

#include <typeinfo>

namespace keyreap {
namespace {

bool HasWinesVersion() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

TEST(HostEventTracing, IsTheSystemsOwnExceptOnWine) {
    const EventTracing& host = HostEventTracing();
    EXPECT_EQ(typeid(host) == typeid(WineEventTracing), HasWinesVersion());
    EXPECT_EQ(typeid(host) == typeid(SystemEventTracing), !HasWinesVersion());
}

TEST(HostEventTracing, IsOneObject) {
    EXPECT_EQ(&HostEventTracing(), &HostEventTracing());
}

// These calls fail on every host.
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
