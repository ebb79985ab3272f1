#include "etl/registryevent.h"
#include "tests/requests/loggertest.h"
#include "trace/registrytrace.h"
#include "trace/wineeventtracing.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace keyreap {
namespace {

// Counts of the callbacks, which have no context.
struct Called {
    int events = 0;
    int logHeaders = 0;
    int ownSettings = 0;
    int buffers = 0;
    BOOL goOn = TRUE;
};
Called called;

void WINAPI OnEvent(EVENT_TRACE* event) {
    ++called.events;
    called.logHeaders += called.events == 1 && event->Header.Class.Type == 0 ? 1 : 0;
    const bool own = event->Header.ProcessId == GetCurrentProcessId();
    called.ownSettings += own && event->Header.Class.Type == registryevent::setValue ? 1 : 0;
}

ULONG WINAPI OnBuffer(EVENT_TRACE_LOGFILEW*) {
    ++called.buffers;
    return static_cast<ULONG>(called.goOn);
}

class WineEventTracingLive : public testing::Test {
protected:
    WineEventTracingLive() { called = {}; }

    TRACEHANDLE Open() {
        std::wstring name = path;
        EVENT_TRACE_LOGFILEW log{};
        log.LogFileName = name.data();
        log.EventCallback = OnEvent;
        log.BufferCallback = OnBuffer;
        const TRACEHANDLE handle = tracing.Open(log);
        EXPECT_NE(handle, INVALID_PROCESSTRACE_HANDLE);
        return handle;
    }

    // Reads the log through the callbacks and returns the status.
    ULONG Process() {
        const TRACEHANDLE handle = Open();
        const ULONG status = tracing.Process(handle);
        EXPECT_EQ(tracing.Close(handle), ULONG{ERROR_SUCCESS});
        EXPECT_EQ(tracing.Close(handle), ULONG{ERROR_INVALID_HANDLE});
        return status;
    }

    testsupport::TemporaryFolder folder;
    const std::wstring path = folder.File(L"a.etl");
    WineEventTracing tracing;
    RegistryTrace trace{path, L"Keyreap test logger", tracing};
    testsupport::ScratchKey scratch;
};

TEST_F(WineEventTracingLive, WhatWasTracedIsReadAgain) {
    ASSERT_EQ(trace.Start(), ULONG{ERROR_SUCCESS});
    SetOne(scratch.Handle(), L"A");
    SetOne(scratch.Handle(), L"B");
    EXPECT_TRUE(trace.Stop());
    EXPECT_EQ(Process(), ULONG{ERROR_SUCCESS});
    EXPECT_EQ(called.logHeaders, 1);
    EXPECT_EQ(called.ownSettings, 2);
    EXPECT_GE(called.buffers, 2);
}

TEST_F(WineEventTracingLive, TheLogIsTheCircularOneThatTheTraceAskedFor) {
    ASSERT_EQ(trace.Start(), ULONG{ERROR_SUCCESS});
    EXPECT_TRUE(trace.Stop());
    EtlFileSource source{std::filesystem::path(path)};
    EtlReader log(source);
    ASSERT_TRUE(log.Open());
    EXPECT_EQ(log.Header().logFileMode, ULONG{EVENT_TRACE_FILE_MODE_CIRCULAR});
    EXPECT_EQ(log.Header().maximumFileSize, 2048U);
    EXPECT_EQ(log.Header().loggerName, L"Keyreap test logger");
}

TEST_F(WineEventTracingLive, TheReaderOfALogCanEndTheReading) {
    ASSERT_EQ(trace.Start(), ULONG{ERROR_SUCCESS});
    SetOne(scratch.Handle(), L"A");
    EXPECT_TRUE(trace.Stop());
    called.goOn = FALSE;
    EXPECT_EQ(Process(), ULONG{ERROR_CANCELLED});
    EXPECT_EQ(called.buffers, 1);
    EXPECT_EQ(called.events, 1);
}

TEST_F(WineEventTracingLive, ALogThatIsEmptiedWhileItIsOpenCanNotBeRead) {
    ASSERT_EQ(trace.Start(), ULONG{ERROR_SUCCESS});
    EXPECT_TRUE(trace.Stop());
    const TRACEHANDLE handle = Open();
    static_cast<void>(std::ofstream{std::filesystem::path(path)});
    EXPECT_EQ(tracing.Process(handle), ULONG{ERROR_READ_FAULT});
    EXPECT_EQ(called.events, 0);
    EXPECT_EQ(tracing.Close(handle), ULONG{ERROR_SUCCESS});
}

TEST_F(WineEventTracingLive, WhileOneRunsTheNextGets183) {
    ASSERT_EQ(trace.Start(), ULONG{ERROR_SUCCESS});
    WineEventTracing otherTracing;
    RegistryTrace other(folder.File(L"b.etl"), L"Keyreap test logger", otherTracing);
    EXPECT_EQ(other.Start(), 183U);
    EXPECT_TRUE(trace.Stop());
    EXPECT_EQ(other.Start(), ULONG{ERROR_SUCCESS});
}

TEST_F(WineEventTracingLive, ATraceThatIsDroppedEndsItsSession) {
    {
        RegistryTrace dropped(folder.File(L"b.etl"), L"Keyreap test logger", tracing);
        ASSERT_EQ(dropped.Start(), ULONG{ERROR_SUCCESS});
    }
    EXPECT_EQ(trace.Start(), ULONG{ERROR_SUCCESS});
}

} // namespace
} // namespace keyreap
