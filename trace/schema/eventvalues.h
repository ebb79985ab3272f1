#pragma once

#include "trace/schema/eventschema.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The variant types of decoded values, with the numbers of VARENUM in wtypes.h.
enum class ValueType : std::uint16_t {
    i2 = 2,
    i4 = 3,
    bstr = 8,
    i1 = 16,
    ui1 = 17,
    ui2 = 18,
    ui4 = 19,
    i8 = 20,
    ui8 = 21,
    integer = 22,
};

// One decoded value: a text, or a number from the payload, zero-extended even if its type is signed.
struct EventValue {
    ValueType type = ValueType::ui4;
    std::uint64_t number = 0;
    std::wstring text;
};

// The result of schema-driven decoding: a list of values for each property of the schema. The list of an
// array can have several values. The list of a property without a value is empty.
struct EventValues {
    explicit EventValues(const EventSchema& schema) : schema(&schema) {}

    const EventSchema* schema; // not owned
    std::vector<std::vector<EventValue>> values;
};

// Reads the payload property by property into values, with bounds-checked access. Only the schema moves the
// cursor, also past the end of the payload; an element that is not inside the payload has no value. Always
// true.
bool DecodeValues(EventValues& values, std::span<const std::byte> payload);

// The index of the property of this name, compared with A to Z folded, or -1.
int FindProperty(const EventValues& values, std::wstring_view name);

} // namespace keyreap
