#pragma once

#include "trace/schema/eventvalues.h"
#include "trace/traceevent.h"

#include <cstddef>
#include <cstdint>
#include <span>
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

// The same into a record of the caller's, the memory of whose name is used again.
void ReadFixedFields(const TraceEvent& event, std::uint32_t pointerSize, RegistryFields& fields);

// A handle and the UTF-16 units of its name, by the same rules. They belong to the event.
struct NamedHandle {
    std::uint64_t keyHandle;
    std::span<const std::byte> name;
};

// What an event that names a handle needs of them: in a log, most such events are of other processes.
NamedHandle ReadFixedName(const TraceEvent& event, std::uint32_t pointerSize);

// Takes the same fields from the decoded properties "KeyHandle", "KeyName", "Status", "Index" and
// "InitialTime". A field without property or value has its default, which for index is 0xFFFFFFFF.
RegistryFields ReadSchemaFields(const EventValues& values, std::uint32_t pointerSize);

} // namespace keyreap
