#include "trace/traceevent.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// The values that evntrace.h and the documentation of the kernel logger publish.
TEST(TraceEventGuids, AreThosePublished) {
    EXPECT_EQ(EventTraceGuid, ParseGuid(L"{68FDD900-4A3E-11D1-84F4-0000F80464E3}"));
    EXPECT_EQ(RegistryGuid, ParseGuid(L"{AE53722E-C863-11D2-8659-00C04FA321A1}"));
    EXPECT_EQ(ThreadGuid, ParseGuid(L"{3D6FA8D1-FE05-11D0-9DDA-00C04FD7BA7C}"));
    EXPECT_EQ(SystemTraceControlGuid, ParseGuid(L"{9E814AAD-3204-11D2-9A82-006008A86939}"));
}

TEST(IsLogHeader, NeedsTheLogsOwnClassAndTypeZero) {
    TraceEvent event;
    event.guid = ParseGuid(L"{68FDD900-4A3E-11D1-84F4-0000F80464E3}");
    EXPECT_TRUE(IsLogHeader(event));
    event.type = 1;
    EXPECT_FALSE(IsLogHeader(event));
    event.type = 0;
    event.guid = ParseGuid(L"{AE53722E-C863-11D2-8659-00C04FA321A1}");
    EXPECT_FALSE(IsLogHeader(event));
}

} // namespace
} // namespace keyreap
