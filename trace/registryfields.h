#pragma once

#include "trace/schema/eventvalues.h"
#include "trace/traceevent.h"

#include <cstdint>
#include <string>

namespace keyreap {

// The fields of a registry event. Its type decides whether `name` is a key's or a value's.
struct RegistryFields {
    std::uint64_t keyHandle = 0;
    std::wstring name;
    std::uint32_t status = 0; // NTSTATUS of the operation
    std::uint32_t index = 0;
    std::int64_t initialTime = 0;
};

// Reads the payload of a registry event by the fixed layout of its version (0, 1, or 2 and above) and of the
// log's pointer size. A field that is not completely inside the payload has its default, and so has a name
// without terminator.
RegistryFields ReadFixedFields(const TraceEvent& event, std::uint32_t pointerSize);

// Takes the same fields from the decoded properties "KeyHandle", "KeyName", "Status", "Index" and
// "InitialTime". A field without property or value has its default, which for index is 0xFFFFFFFF.
RegistryFields ReadSchemaFields(const EventValues& values, std::uint32_t pointerSize);

} // namespace keyreap
