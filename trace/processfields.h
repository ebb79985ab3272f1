#pragma once

#include "trace/traceevent.h"

#include <cstdint>
#include <optional>
#include <string>

namespace keyreap {

// The fields that the events of a process have in all their versions.
struct ProcessFields {
    std::uint32_t processId = 0;
    std::uint32_t parentId = 0;
    std::wstring imageName; // the file name; empty if the event lacks it. Some systems cut it off
};

// True for the start of a process, and for one that ran when the trace began.
bool IsProcessStart(const TraceEvent& event);
bool IsProcessRundown(const TraceEvent& event);

// Reads the payload of a process event by the fixed layout of its version (0 to 4, later ones as 4) and of
// the log's pointer size. None if the payload lacks the ids.
std::optional<ProcessFields> ReadProcessFields(const TraceEvent& event, std::uint32_t pointerSize);

} // namespace keyreap
