#pragma once

#include "etl/etlclasses.h"
#include "etl/etlevent.h"
#include "etl/registryevent.h"

namespace keyreap {

// Event classes of the kernel logger and of the log itself, by the names published in evntrace.h.
// NOLINTBEGIN(readability-identifier-naming)
inline constexpr Guid EventTraceGuid{
    0x68FDD900, 0x4A3E, 0x11D1, {0x84, 0xF4, 0x00, 0x00, 0xF8, 0x04, 0x64, 0xE3}};
inline constexpr Guid RegistryGuid{
    0xAE53722E, 0xC863, 0x11D2, {0x86, 0x59, 0x00, 0xC0, 0x4F, 0xA3, 0x21, 0xA1}};
inline constexpr Guid ProcessGuid{
    0x3D6FA8D0, 0xFE05, 0x11D0, {0x9D, 0xDA, 0x00, 0xC0, 0x4F, 0xD7, 0xBA, 0x7C}};
inline constexpr Guid ThreadGuid{
    0x3D6FA8D1, 0xFE05, 0x11D0, {0x9D, 0xDA, 0x00, 0xC0, 0x4F, 0xD7, 0xBA, 0x7C}};
inline constexpr Guid SystemTraceControlGuid{
    0x9E814AAD, 0x3204, 0x11D2, {0x9A, 0x82, 0x00, 0x60, 0x08, 0xA8, 0x69, 0x39}};
// NOLINTEND(readability-identifier-naming)

// What the handlers get of EVENT_TRACE: its class, type, version, origin and time, and its payload (MofData,
// MofLength). The other fields of an event are those of a log's reader alone.
using TraceEvent = EtlEvent;

} // namespace keyreap
