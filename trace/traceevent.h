#pragma once

#include "etl/etlclasses.h"
#include "etl/etlevent.h"
#include "etl/registryevent.h"

namespace keyreap {

// Event classes of the kernel logger and of the log itself, by the names published in evntrace.h.
// NOLINTBEGIN(readability-identifier-naming)
inline constexpr Guid EventTraceGuid = etlclass::eventTrace;
inline constexpr Guid RegistryGuid = etlclass::registry;
inline constexpr Guid ProcessGuid = etlclass::process;
inline constexpr Guid ThreadGuid = etlclass::thread;
inline constexpr Guid SystemTraceControlGuid{
    0x9E814AAD, 0x3204, 0x11D2, {0x9A, 0x82, 0x00, 0x60, 0x08, 0xA8, 0x69, 0x39}};
// NOLINTEND(readability-identifier-naming)

// What the handlers get of EVENT_TRACE: its class, type, version, origin and time, and its payload (MofData,
// MofLength). The other fields of an event are those of a log's reader alone.
using TraceEvent = EtlEvent;

} // namespace keyreap
