// The structures of event tracing have the layout that Microsoft's headers publish, whatever headers this is
// compiled with. The numbers follow from the declarations there and are written out, so that no number is
// tested against itself.
#include "platform/os/publishedlayout.h"

#include <windows.h>

#include <evntrace.h>

namespace keyreap {

namespace {

static_assert(offsetof(WNODE_HEADER, BufferSize) == 0);
static_assert(offsetof(WNODE_HEADER, ProviderId) == 4);
static_assert(offsetof(WNODE_HEADER, HistoricalContext) == 8);
static_assert(offsetof(WNODE_HEADER, TimeStamp) == 16);
static_assert(offsetof(WNODE_HEADER, Guid) == 24);
static_assert(offsetof(WNODE_HEADER, ClientContext) == 40);
static_assert(offsetof(WNODE_HEADER, Flags) == 44);
static_assert(sizeof(WNODE_HEADER) == 48);

static_assert(offsetof(EVENT_TRACE_PROPERTIES, Wnode) == 0);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, BufferSize) == 48);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, MinimumBuffers) == 52);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, MaximumBuffers) == 56);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, MaximumFileSize) == 60);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, LogFileMode) == 64);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, FlushTimer) == 68);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, EnableFlags) == 72);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, AgeLimit) == 76);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, NumberOfBuffers) == 80);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, FreeBuffers) == 84);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, EventsLost) == 88);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, BuffersWritten) == 92);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, LogBuffersLost) == 96);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, RealTimeBuffersLost) == 100);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, LoggerThreadId) == 104);
static_assert(offsetof(EVENT_TRACE_PROPERTIES, LogFileNameOffset) == Published(112, 108));
static_assert(offsetof(EVENT_TRACE_PROPERTIES, LoggerNameOffset) == Published(116, 112));
static_assert(sizeof(EVENT_TRACE_PROPERTIES) == 120);

static_assert(offsetof(EVENT_TRACE_HEADER, Size) == 0);
static_assert(offsetof(EVENT_TRACE_HEADER, FieldTypeFlags) == 2);
static_assert(offsetof(EVENT_TRACE_HEADER, Version) == 4);
static_assert(offsetof(EVENT_TRACE_HEADER, Class.Type) == 4);
static_assert(offsetof(EVENT_TRACE_HEADER, Class.Level) == 5);
static_assert(offsetof(EVENT_TRACE_HEADER, Class.Version) == 6);
static_assert(offsetof(EVENT_TRACE_HEADER, ThreadId) == 8);
static_assert(offsetof(EVENT_TRACE_HEADER, ProcessId) == 12);
static_assert(offsetof(EVENT_TRACE_HEADER, TimeStamp) == 16);
static_assert(offsetof(EVENT_TRACE_HEADER, Guid) == 24);
static_assert(offsetof(EVENT_TRACE_HEADER, KernelTime) == 40);
static_assert(offsetof(EVENT_TRACE_HEADER, UserTime) == 44);
static_assert(sizeof(EVENT_TRACE_HEADER) == 48);

static_assert(offsetof(EVENT_TRACE, Header) == 0);
static_assert(offsetof(EVENT_TRACE, InstanceId) == 48);
static_assert(offsetof(EVENT_TRACE, ParentInstanceId) == 52);
static_assert(offsetof(EVENT_TRACE, ParentGuid) == 56);
static_assert(offsetof(EVENT_TRACE, MofData) == 72);
static_assert(offsetof(EVENT_TRACE, MofLength) == Published(80, 76));
static_assert(offsetof(EVENT_TRACE, ClientContext) == Published(84, 80));
static_assert(sizeof(EVENT_TRACE) == 88);

static_assert(offsetof(TRACE_LOGFILE_HEADER, BufferSize) == 0);
static_assert(offsetof(TRACE_LOGFILE_HEADER, Version) == 4);
static_assert(offsetof(TRACE_LOGFILE_HEADER, ProviderVersion) == 8);
static_assert(offsetof(TRACE_LOGFILE_HEADER, NumberOfProcessors) == 12);
static_assert(offsetof(TRACE_LOGFILE_HEADER, EndTime) == 16);
static_assert(offsetof(TRACE_LOGFILE_HEADER, TimerResolution) == 24);
static_assert(offsetof(TRACE_LOGFILE_HEADER, MaximumFileSize) == 28);
static_assert(offsetof(TRACE_LOGFILE_HEADER, LogFileMode) == 32);
static_assert(offsetof(TRACE_LOGFILE_HEADER, BuffersWritten) == 36);
static_assert(offsetof(TRACE_LOGFILE_HEADER, StartBuffers) == 40);
static_assert(offsetof(TRACE_LOGFILE_HEADER, PointerSize) == 44);
static_assert(offsetof(TRACE_LOGFILE_HEADER, EventsLost) == 48);
static_assert(offsetof(TRACE_LOGFILE_HEADER, CpuSpeedInMHz) == 52);
static_assert(offsetof(TRACE_LOGFILE_HEADER, LoggerName) == 56);
static_assert(offsetof(TRACE_LOGFILE_HEADER, LogFileName) == Published(64, 60));
static_assert(offsetof(TRACE_LOGFILE_HEADER, TimeZone) == Published(72, 64));
static_assert(offsetof(TRACE_LOGFILE_HEADER, BootTime) == Published(248, 240));
static_assert(offsetof(TRACE_LOGFILE_HEADER, PerfFreq) == Published(256, 248));
static_assert(offsetof(TRACE_LOGFILE_HEADER, StartTime) == Published(264, 256));
static_assert(offsetof(TRACE_LOGFILE_HEADER, ReservedFlags) == Published(272, 264));
static_assert(offsetof(TRACE_LOGFILE_HEADER, BuffersLost) == Published(276, 268));
static_assert(sizeof(TRACE_LOGFILE_HEADER) == Published(280, 272));
static_assert(sizeof(TIME_ZONE_INFORMATION) == 172);

static_assert(offsetof(EVENT_TRACE_LOGFILEW, LogFileName) == 0);
static_assert(offsetof(EVENT_TRACE_LOGFILEW, LoggerName) == Published(8, 4));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, CurrentTime) == Published(16, 8));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, BuffersRead) == Published(24, 16));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, ProcessTraceMode) == Published(28, 20));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, CurrentEvent) == Published(32, 24));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, LogfileHeader) == Published(120, 112));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, BufferCallback) == Published(400, 384));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, BufferSize) == Published(408, 388));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, Filled) == Published(412, 392));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, EventsLost) == Published(416, 396));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, EventCallback) == Published(424, 400));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, IsKernelTrace) == Published(432, 404));
static_assert(offsetof(EVENT_TRACE_LOGFILEW, Context) == Published(440, 408));
static_assert(sizeof(EVENT_TRACE_LOGFILEW) == Published(448, 416));

static_assert(sizeof(TRACEHANDLE) == 8);

} // namespace

} // namespace keyreap
