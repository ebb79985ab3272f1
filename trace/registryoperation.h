#pragma once

#include "trace/arena.h"
#include "trace/piecelist.h"
#include "trace/predefinedroot.h"
#include "trace/traceevent.h"

#include <cstdint>
#include <string_view>

namespace keyreap {

// One registry operation of a watched process. It does not own its texts.
struct RegistryOperation {
    std::uint32_t type = 0;       // the event's type, of registryevent
    PredefinedRoot root = noRoot; // noRoot until the name is normalised
    std::wstring_view keyPath;    // below `root`; before normalisation the event's own name
    std::wstring_view valueName;  // for events that concern a value only
    std::uint32_t index = 0;
    std::uint32_t status = 0; // NTSTATUS of the operation
    std::int64_t initialTime = 0;
    std::uint32_t processId = 0;
    std::uint64_t keyHandle = 0; // 0 once the handle's name was applied
};

// Operations in the order of their events, with the memory of their texts.
struct RecordedOperations {
    PieceList<RegistryOperation> list;
    Arena paths;
    Arena valueNames;
};

// True for an operation on a value: its event's name is the value's, and only the handle identifies the key.
constexpr bool ConcernsValue(std::uint32_t operationType) {
    return operationType >= registryevent::setValue && operationType <= registryevent::queryValue;
}

} // namespace keyreap
