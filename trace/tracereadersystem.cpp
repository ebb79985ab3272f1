#include "platform/core/text/platformguid.h"
#include "platform/os/heldexception.h"
#include "trace/eventtracing.h"
#include "trace/tracereader.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace keyreap {

namespace {

struct CurrentRead {
    TraceReader& reader;
    HeldException failure; // of a callback
};

// The consumer's callbacks get no context, so each slot has its own callbacks, which know their read.
std::array<CurrentRead*, 2> reads{};

TraceEvent ToTraceEvent(const EVENT_TRACE& event) {
    TraceEvent converted;
    converted.guid = FromPlatformGuid(event.Header.Guid);
    converted.type = event.Header.Class.Type;
    converted.version = event.Header.Class.Version;
    converted.processId = event.Header.ProcessId;
    converted.threadId = event.Header.ThreadId;
    converted.timeStamp = event.Header.TimeStamp.QuadPart;
    if (event.MofData) {
        converted.payload = {static_cast<const std::byte*>(event.MofData), event.MofLength};
    }
    return converted;
}

template <std::size_t index>
void WINAPI PassEvent(EVENT_TRACE* event) {
    CurrentRead& read = *reads[index];
    read.failure.Run([&] { read.reader.OnEvent(ToTraceEvent(*event)); });
}

template <std::size_t index>
ULONG WINAPI PassBuffer(EVENT_TRACE_LOGFILEW*) {
    CurrentRead& read = *reads[index];
    bool goesOn = false;
    read.failure.Run([&] { goesOn = read.reader.OnBuffer(); });
    return goesOn ? TRUE : FALSE;
}

struct Callbacks {
    PEVENT_CALLBACK onEvent;
    PEVENT_TRACE_BUFFER_CALLBACKW onBuffer;
};

constexpr std::array<Callbacks, 2> slotCallbacks{{
    {PassEvent<0>, PassBuffer<0>},
    {PassEvent<1>, PassBuffer<1>},
}};

// Takes the first free slot for a read, if there is one, and frees it at the end.
class ReaderSlot {
public:
    explicit ReaderSlot(CurrentRead& read) : slot(std::ranges::find(reads, nullptr)) {
        if (Valid()) {
            *slot = &read;
        }
    }
    ~ReaderSlot() {
        if (Valid()) {
            *slot = nullptr;
        }
    }
    ReaderSlot(const ReaderSlot&) = delete;
    ReaderSlot& operator=(const ReaderSlot&) = delete;

    bool Valid() const { return slot != reads.end(); }
    const Callbacks& Functions() const {
        return slotCallbacks[static_cast<std::size_t>(slot - reads.begin())];
    }

private:
    std::array<CurrentRead*, 2>::iterator slot;
};

// A log opened for reading. Deliberate: the destructor calls CloseTrace in any case, also with the 0 that
// Close left and with the value of a failed open. It refuses both.
class OpenLog {
public:
    OpenLog(EventTracing& tracing, EVENT_TRACE_LOGFILEW& logFile)
        : tracing(tracing), handle(tracing.Open(logFile)) {}
    ~OpenLog() { tracing.Close(handle); }
    OpenLog(const OpenLog&) = delete;
    OpenLog& operator=(const OpenLog&) = delete;

    // A failure has all bits set. In a 32-bit process only those of a pointer count, since systems differ.
    bool Valid() const { return static_cast<ULONG_PTR>(handle) != ~ULONG_PTR{0}; }
    ULONG Process() { return tracing.Process(handle); }
    void Close() { tracing.Close(std::exchange(handle, 0)); }

private:
    EventTracing& tracing;
    TRACEHANDLE handle;
};

} // namespace

bool TraceReader::Read(const std::wstring& logFilePath) {
    CurrentRead read{*this, {}};
    const ReaderSlot slot(read);
    if (!slot.Valid()) {
        return false;
    }
    std::wstring path = logFilePath; // the structure needs a text that is not constant
    EVENT_TRACE_LOGFILEW logFile{};
    logFile.LogFileName = path.data();
    logFile.EventCallback = slot.Functions().onEvent;
    logFile.BufferCallback = slot.Functions().onBuffer;
    for (TraceEventHandler* const handler : handlers) {
        handler->Attach(threadMap);
    }
    OpenLog log(tracing, logFile);
    if (!log.Valid()) {
        return false;
    }
    const ULONG status = log.Process();
    log.Close();
    read.failure.ThrowOn();
    for (TraceEventHandler* const handler : handlers) {
        handler->OnFinished();
    }
    return status == ERROR_SUCCESS;
}

} // namespace keyreap
