#include "platform/core/text/platformguid.h"
#include "tests/support/scriptedtracing.h"
#include "trace/registrytrace.h"

#include <gtest/gtest.h>

#include <cstring>

namespace keyreap {
namespace {

using Calls = std::vector<std::wstring>;

constexpr wchar_t logPath[] = L"C:\\Temp\\ETL1.tmp";

// The properties that Start passes to the system for these names.
std::vector<std::byte> PropertiesFor(std::wstring_view path, std::wstring_view name) {
    ScriptedTracing tracing;
    RegistryTrace trace(path, name, tracing);
    trace.Start();
    return tracing.startProperties;
}

EVENT_TRACE_PROPERTIES StructureOf(const std::vector<std::byte>& block) {
    EVENT_TRACE_PROPERTIES properties;
    std::memcpy(&properties, block.data(), sizeof(properties));
    return properties;
}

std::wstring TextAt(const std::vector<std::byte>& block, std::size_t offset) {
    return reinterpret_cast<const wchar_t*>(block.data() + offset);
}

TEST(RegistryTrace, PropertiesRequestTheRegistryEventsOfTheKernelLogger) {
    const EVENT_TRACE_PROPERTIES properties = StructureOf(PropertiesFor(logPath, kernelLoggerSession));
    EXPECT_EQ(properties.Wnode.Flags, 0x20000U);
    EXPECT_EQ(properties.Wnode.ClientContext, 1U);
    EXPECT_EQ(FromPlatformGuid(properties.Wnode.Guid), ParseGuid(L"{9E814AAD-3204-11D2-9A82-006008A86939}"));
    EXPECT_EQ(properties.EnableFlags, 0x20000U);
}

TEST(RegistryTrace, LogIsCircularOfAtMost2048MegabytesWith20To2020Buffers) {
    const EVENT_TRACE_PROPERTIES properties = StructureOf(PropertiesFor(logPath, kernelLoggerSession));
    EXPECT_EQ(properties.LogFileMode, 2U);
    EXPECT_EQ(properties.MaximumFileSize, 2048U);
    EXPECT_EQ(properties.MinimumBuffers, 20U);
    EXPECT_EQ(properties.MaximumBuffers, 2020U);
}

TEST(RegistryTrace, AllOtherPropertiesAreZero) {
    EVENT_TRACE_PROPERTIES properties = StructureOf(PropertiesFor(logPath, kernelLoggerSession));
    properties.Wnode.BufferSize = 0;
    properties.Wnode.Flags = 0;
    properties.Wnode.ClientContext = 0;
    properties.Wnode.Guid = {};
    properties.EnableFlags = 0;
    properties.LogFileMode = 0;
    properties.MaximumFileSize = 0;
    properties.MinimumBuffers = 0;
    properties.MaximumBuffers = 0;
    properties.LoggerNameOffset = 0;
    properties.LogFileNameOffset = 0;
    const EVENT_TRACE_PROPERTIES zero{};
    EXPECT_EQ(std::memcmp(&properties, &zero, sizeof(zero)), 0);
}

TEST(RegistryTrace, OffsetsAndSizeFollowNamesOfAnyLength) {
    const std::wstring longPath(5000, L'p');
    const std::wstring longName(1000, L'n');
    for (const std::wstring& name : {std::wstring(), std::wstring(L"n"), longName}) {
        for (const std::wstring& path : {std::wstring(), std::wstring(logPath), longPath}) {
            const std::vector<std::byte> block = PropertiesFor(path, name);
            const EVENT_TRACE_PROPERTIES properties = StructureOf(block);
            EXPECT_EQ(properties.LoggerNameOffset, sizeof(EVENT_TRACE_PROPERTIES));
            EXPECT_EQ(properties.LogFileNameOffset,
                      sizeof(EVENT_TRACE_PROPERTIES) + (name.size() + 1) * sizeof(wchar_t));
            EXPECT_EQ(properties.Wnode.BufferSize,
                      properties.LogFileNameOffset + (path.size() + 1) * sizeof(wchar_t));
            EXPECT_EQ(TextAt(block, properties.LoggerNameOffset), name);
            EXPECT_EQ(TextAt(block, properties.LogFileNameOffset), path);
        }
    }
}

TEST(RegistryTrace, LoggerNameIsTheOneInTheProperties) {
    ScriptedTracing tracing;
    EXPECT_EQ(RegistryTrace(logPath, L"Another Logger", tracing).LoggerName(), L"Another Logger");
    EXPECT_EQ(RegistryTrace(logPath, L"", tracing).LoggerName(), L"");
}

TEST(RegistryTrace, ConstructionCallsNothing) {
    ScriptedTracing tracing;
    const RegistryTrace trace(logPath, kernelLoggerSession, tracing);
    EXPECT_TRUE(tracing.calls.empty());
    EXPECT_FALSE(trace.Running());
}

TEST(RegistryTrace, CloseTraceIsCalledOnceWith0WithoutAStart) {
    ScriptedTracing tracing;
    static_cast<void>(RegistryTrace(logPath, kernelLoggerSession, tracing));
    EXPECT_EQ(tracing.calls, Calls{L"close 0"});
}

TEST(RegistryTrace, StartStopAndDestructionAreOneCallEach) {
    ScriptedTracing tracing;
    {
        RegistryTrace trace(logPath, kernelLoggerSession, tracing);
        EXPECT_EQ(trace.Start(), 0U);
        EXPECT_TRUE(trace.Running());
        EXPECT_TRUE(trace.Stop());
        EXPECT_FALSE(trace.Running());
    }
    EXPECT_EQ(tracing.calls,
              (Calls{L"start NT Kernel Logger", L"control 81 NT Kernel Logger 1", L"close 81"}));
}

TEST(RegistryTrace, SecondStopIsTrueWithoutASystemCall) {
    ScriptedTracing tracing;
    RegistryTrace trace(logPath, kernelLoggerSession, tracing);
    trace.Start();
    trace.Stop();
    const std::size_t before = tracing.calls.size();
    EXPECT_TRUE(trace.Stop());
    EXPECT_EQ(tracing.calls.size(), before);
}

TEST(RegistryTrace, StopWithoutAStartIsTrueWithoutASystemCall) {
    ScriptedTracing tracing;
    RegistryTrace trace(logPath, kernelLoggerSession, tracing);
    EXPECT_TRUE(trace.Stop());
    EXPECT_TRUE(tracing.calls.empty());
}

TEST(RegistryTrace, FailedStartIsReturnedAndNotTriedAgain) {
    for (const ULONG status :
         {ULONG{ERROR_ACCESS_DENIED}, ULONG{ERROR_NOT_SUPPORTED}, ULONG{ERROR_BAD_LENGTH}}) {
        ScriptedTracing tracing;
        tracing.startStatus = status;
        RegistryTrace trace(logPath, kernelLoggerSession, tracing);
        EXPECT_EQ(trace.Start(), status);
        EXPECT_FALSE(trace.Running());
        EXPECT_EQ(tracing.calls, Calls{L"start NT Kernel Logger"});
    }
}

TEST(RegistryTrace, SessionOfAnotherProgramIsNeverStopped) {
    ScriptedTracing tracing;
    tracing.startStatus = ERROR_ALREADY_EXISTS;
    {
        RegistryTrace trace(logPath, kernelLoggerSession, tracing);
        EXPECT_EQ(trace.Start(), ULONG{ERROR_ALREADY_EXISTS});
        EXPECT_TRUE(trace.Stop());
    }
    EXPECT_EQ(tracing.calls, (Calls{L"start NT Kernel Logger", L"close 0"}));
}

TEST(RegistryTrace, FailedStopIsFalseOnceAndNotTriedAgain) {
    ScriptedTracing tracing;
    tracing.controlStatus = ERROR_ACCESS_DENIED;
    {
        RegistryTrace trace(logPath, kernelLoggerSession, tracing);
        trace.Start();
        EXPECT_FALSE(trace.Stop());
        EXPECT_FALSE(trace.Running());
        EXPECT_TRUE(trace.Stop());
    }
    EXPECT_EQ(tracing.calls,
              (Calls{L"start NT Kernel Logger", L"control 81 NT Kernel Logger 1", L"close 81"}));
}

TEST(RegistryTrace, AnExceptionStopsTheSession) {
    ScriptedTracing tracing;
    try {
        RegistryTrace trace(logPath, kernelLoggerSession, tracing);
        trace.Start();
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(tracing.calls,
              (Calls{L"start NT Kernel Logger", L"control 81 NT Kernel Logger 1", L"close 81"}));
}

TEST(RegistryTrace, SecondStartThatFailsLeavesTheSessionRunning) {
    ScriptedTracing tracing;
    RegistryTrace trace(logPath, kernelLoggerSession, tracing);
    trace.Start();
    tracing.startStatus = ERROR_ALREADY_EXISTS;
    trace.Start();
    EXPECT_TRUE(trace.Running());
}

} // namespace
} // namespace keyreap
