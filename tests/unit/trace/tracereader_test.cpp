#include "tests/support/scriptedtracing.h"
#include "tests/unit/trace/recordinghandler.h"
#include "trace/tracereader.h"

#include <gtest/gtest.h>

#include <functional>

namespace keyreap {
namespace {

using Calls = std::vector<std::wstring>;

constexpr wchar_t logPath[] = L"C:\\Temp\\ETL1.tmp";

// Records the calls of all handlers in one list, in their order.
class SharedHandler : public TraceEventHandler {
public:
    SharedHandler(std::wstring name, Calls& calls) : name(std::move(name)), calls(calls) {}

    void Attach(std::shared_ptr<ThreadProcessMap> map) override {
        calls.push_back(name + L" attached");
        TraceEventHandler::Attach(std::move(map));
    }
    bool IsEnabled() const override {
        calls.push_back(name + L" asked");
        return TraceEventHandler::IsEnabled();
    }
    void OnEvent(const TraceEvent& event) override {
        calls.push_back(name + L" event " + std::to_wstring(event.type));
        TraceEventHandler::OnEvent(event);
    }
    void OnFinished() override { calls.push_back(name + L" finished"); }
    void OnDecodedEvent(const TraceEvent&, const EventValues*) override {}

    using TraceEventHandler::Disable;
    using TraceEventHandler::ThreadMap;

private:
    std::wstring name;
    Calls& calls;
};

// Calls a function for each event.
class ActingHandler : public TraceEventHandler {
public:
    explicit ActingHandler(std::function<void()> act) : act(std::move(act)) {}
    void OnDecodedEvent(const TraceEvent&, const EventValues*) override { act(); }

private:
    std::function<void()> act;
};

struct TwoHandlers {
    TwoHandlers() {
        reader.AddHandler(first);
        reader.AddHandler(second);
    }

    ScriptedTracing tracing;
    Calls calls;
    SharedHandler first{L"first", calls};
    SharedHandler second{L"second", calls};
    TraceReader reader{tracing};
};

TEST(TraceReader, OpensRunsAndClosesTheLogAndThenCloses0) {
    ScriptedTracing tracing;
    EXPECT_TRUE(TraceReader(tracing).Read(logPath));
    EXPECT_EQ(tracing.calls, (Calls{L"open", L"process 145", L"close 145", L"close 0"}));
    EXPECT_EQ(tracing.openedPath, logPath);
    EXPECT_EQ(tracing.openedMode, 0U);
}

TEST(TraceReader, HandlersGetEachEventInListOrderAndThenFinish) {
    TwoHandlers it;
    it.tracing.log = TraceBuilder().SetValue(1, L"V").Events();
    EXPECT_TRUE(it.reader.Read(logPath));
    EXPECT_EQ(it.calls,
              (Calls{L"first attached", L"second attached", L"first event 0", L"second event 0",
                     L"first event 14", L"second event 14", L"first finished", L"second finished"}));
}

TEST(TraceReader, HandlersAreAttachedBeforeTheOpeningAndFinishBetweenTheTwoClosings) {
    ScriptedTracing tracing;
    SharedHandler handler(L"handler", tracing.calls);
    TraceReader reader(tracing);
    reader.AddHandler(handler);
    EXPECT_TRUE(reader.Read(logPath));
    EXPECT_EQ(tracing.calls, (Calls{L"handler attached", L"open", L"process 145", L"handler event 0",
                                    L"close 145", L"handler finished", L"close 0"}));
}

TEST(TraceReader, EveryHandlerGetsTheSameMapOfThreads) {
    TwoHandlers it;
    it.reader.Read(logPath);
    EXPECT_NE(it.first.ThreadMap(), nullptr);
    EXPECT_EQ(it.first.ThreadMap(), it.second.ThreadMap());
}

TEST(TraceReader, ThreadEventsDoNotFillTheMap) {
    TwoHandlers it;
    TraceBuilder trace;
    trace.Add(ThreadGuid, 1, PayloadBuilder().U32(100).U32(1).bytes);
    it.tracing.log = trace.Events();
    it.reader.Read(logPath);
    EXPECT_EQ(it.first.ThreadMap()->OwnersOf(1), nullptr);
}

TEST(TraceReader, MissingLogIsFalseAndFinishesNoHandler) {
    TwoHandlers it;
    it.tracing.logExists = false;
    EXPECT_FALSE(it.reader.Read(logPath));
    EXPECT_EQ(it.calls, (Calls{L"first attached", L"second attached"}));
}

TEST(TraceReader, MissingLogFailsWithTheSystemsOwnCallsToo) {
    SystemEventTracing system;
    RecordingHandler handler;
    TraceReader reader(system);
    reader.AddHandler(handler);
    EXPECT_FALSE(reader.Read(L"C:\\there is no such log.etl"));
    EXPECT_EQ(handler.calls, Calls{L"attach"});
}

TEST(TraceReader, CloseTraceIsCalledWithTheValueOfAFailedOpen) {
    for (const TRACEHANDLE failed : {~TRACEHANDLE{0}, TRACEHANDLE{~ULONG_PTR{0}}}) {
        ScriptedTracing tracing;
        tracing.logExists = false;
        tracing.failedOpen = failed;
        EXPECT_FALSE(TraceReader(tracing).Read(logPath));
        EXPECT_EQ(tracing.calls, (Calls{L"open", L"close " + std::to_wstring(failed)}));
    }
}

TEST(TraceReader, LogThatBreaksOffIsFalseAndStillFinishesTheHandlers) {
    TwoHandlers it;
    it.tracing.processStatus = ERROR_HANDLE_EOF;
    it.tracing.log = TraceBuilder().SetValue(1, L"V").Events();
    EXPECT_FALSE(it.reader.Read(logPath));
    EXPECT_EQ(it.calls.back(), L"second finished");
    EXPECT_EQ(it.first.Counters().eventsSeen, 2U);
    EXPECT_EQ(it.tracing.calls, (Calls{L"open", L"process 145", L"close 145", L"close 0"}));
}

TEST(TraceReader, EventsKeepTheirFields) {
    struct Keeper : TraceEventHandler {
        void OnDecodedEvent(const TraceEvent& event, const EventValues*) override {
            last = event;
            payload.assign(event.payload.begin(), event.payload.end());
        }
        TraceEvent last;
        std::vector<std::byte> payload;
    } keeper;
    ScriptedTracing tracing;
    TraceBuilder trace;
    const std::vector<std::byte> payload = PayloadBuilder().U32(1).U8(2).bytes;
    trace.ByProcess(100).ByThread(200).InVersion(3).AtTime(0x1122334455667788);
    tracing.log = trace.Add(RegistryGuid, 29, payload).Events();
    TraceReader reader(tracing);
    reader.AddHandler(keeper);
    reader.Read(logPath);
    EXPECT_EQ(keeper.last.guid, RegistryGuid);
    EXPECT_EQ(keeper.last.type, 29);
    EXPECT_EQ(keeper.last.version, 3);
    EXPECT_EQ(keeper.last.processId, 100U);
    EXPECT_EQ(keeper.last.threadId, 200U);
    EXPECT_EQ(keeper.last.timeStamp, 0x1122334455667788);
    EXPECT_EQ(keeper.payload, payload);
}

TEST(TraceReader, EventWithoutDataHasNoPayload) {
    TwoHandlers it;
    it.tracing.log = TraceBuilder().Add(RegistryGuid, 11, {}).Events();
    it.reader.Read(logPath);
    EXPECT_EQ(it.first.Counters().eventsWithoutData, 1U);
}

TEST(TraceReader, ConsumerGoesOnWhileAnyHandlerIsEnabled) {
    TwoHandlers it;
    it.first.Disable();
    it.tracing.eventsInBuffer = 1;
    it.tracing.log = TraceBuilder().SetValue(1, L"V").Events();
    EXPECT_TRUE(it.reader.Read(logPath));
    EXPECT_EQ(it.first.Counters().eventsSeen, 2U);
}

TEST(TraceReader, ConsumerStopsAfterABufferWhenEveryHandlerIsDisabled) {
    TwoHandlers it;
    it.first.Disable();
    it.second.Disable();
    it.tracing.eventsInBuffer = 1;
    it.tracing.log = TraceBuilder().SetValue(1, L"V").Events();
    EXPECT_FALSE(it.reader.Read(logPath));
    EXPECT_EQ(it.first.Counters().eventsSeen, 1U);
    EXPECT_EQ(it.calls.back(), L"second finished");
}

TEST(TraceReader, WithoutHandlersTheConsumerStopsAfterTheFirstBuffer) {
    ScriptedTracing tracing;
    tracing.eventsInBuffer = 1;
    EXPECT_FALSE(TraceReader(tracing).Read(logPath));
}

TEST(TraceReader, TwoReadsCanRunAtTheSameTimeAndEachGetsItsOwnEvents) {
    ScriptedTracing outerTracing;
    ScriptedTracing innerTracing;
    innerTracing.log = TraceBuilder().SetValue(1, L"V").SetValue(1, L"W").Events();
    TraceReader inner(innerTracing);
    RecordingHandler innerEvents;
    inner.AddHandler(innerEvents);
    bool innerResult = false;
    ActingHandler acting([&] { innerResult = inner.Read(logPath); });
    TraceReader outer(outerTracing);
    outer.AddHandler(acting);
    EXPECT_TRUE(outer.Read(logPath));
    EXPECT_TRUE(innerResult);
    EXPECT_EQ(innerEvents.Counters().eventsSeen, 3U);
    EXPECT_EQ(acting.Counters().eventsSeen, 1U);
}

TEST(TraceReader, ThirdReadAtTheSameTimeFailsWithoutACallToTheSystem) {
    ScriptedTracing tracing;
    ScriptedTracing thirdTracing;
    bool thirdResult = true;
    TraceReader third(thirdTracing);
    TraceReader second(tracing);
    TraceReader first(tracing);
    ActingHandler readThird([&] { thirdResult = third.Read(logPath); });
    ActingHandler readSecond([&] { second.Read(logPath); });
    second.AddHandler(readThird);
    first.AddHandler(readSecond);
    EXPECT_TRUE(first.Read(logPath));
    EXPECT_FALSE(thirdResult);
    EXPECT_TRUE(thirdTracing.calls.empty());
}

TEST(TraceReader, ExceptionOfAHandlerFreesLogAndSlot) {
    for (int i = 0; i < 3; ++i) { // more often than there are slots
        ScriptedTracing tracing;
        ActingHandler throwing([] { throw 1; });
        TraceReader reader(tracing);
        reader.AddHandler(throwing);
        EXPECT_THROW(reader.Read(logPath), int);
        EXPECT_EQ(tracing.calls, (Calls{L"open", L"process 145", L"close 145", L"close 0"}));
    }
    ScriptedTracing tracing;
    EXPECT_TRUE(TraceReader(tracing).Read(logPath));
}

// A handler that has no mind to say whether it is enabled.
class UndecidedHandler : public TraceEventHandler {
public:
    bool IsEnabled() const override { throw 2; }
    void OnDecodedEvent(const TraceEvent&, const EventValues*) override {}
};

TEST(TraceReader, AfterAnExceptionNoHandlerGetsAnEventOrFinishes) {
    TwoHandlers it;
    int acted = 0;
    ActingHandler throwing([&] {
        if (++acted == 2) {
            throw 1;
        }
    });
    it.reader.AddHandler(throwing);
    it.tracing.log = TraceBuilder().SetValue(1, L"V").SetValue(1, L"W").Events();
    EXPECT_THROW(it.reader.Read(logPath), int);
    EXPECT_EQ(acted, 2);
    EXPECT_EQ(it.calls, (Calls{L"first attached", L"second attached", L"first event 0", L"second event 0",
                               L"first event 14", L"second event 14"}));
}

TEST(TraceReader, AfterAnExceptionTheConsumerStopsAtTheEndOfTheBuffer) {
    ScriptedTracing tracing;
    ActingHandler throwing([] { throw 1; });
    TraceReader reader(tracing);
    reader.AddHandler(throwing);
    tracing.eventsInBuffer = 2;
    tracing.log = TraceBuilder().SetValue(1, L"V").SetValue(1, L"W").SetValue(1, L"X").Events();
    EXPECT_THROW(reader.Read(logPath), int);
    EXPECT_EQ(tracing.playedBuffers, 1U);
}

TEST(TraceReader, AnExceptionAfterABufferGoesOnToo) {
    ScriptedTracing tracing;
    tracing.eventsInBuffer = 1;
    UndecidedHandler undecided;
    RecordingHandler recording;
    TraceReader reader(tracing);
    reader.AddHandler(undecided);
    reader.AddHandler(recording);
    tracing.log = TraceBuilder().SetValue(1, L"V").Events();
    EXPECT_THROW(reader.Read(logPath), int);
    EXPECT_EQ(recording.calls, (Calls{L"attach", L"event 0"}));
    EXPECT_EQ(tracing.calls, (Calls{L"open", L"process 145", L"close 145", L"close 0"}));
}

} // namespace
} // namespace keyreap
