#pragma once

#include "trace/schema/eventschema.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// Variant types that decoding makes; the numbers are those of VARENUM in wtypes.h.
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

// One decoded value: a number as it stood in the payload, zero-extended whatever its sign, or a text.
struct EventValue {
    ValueType type = ValueType::ui4;
    std::uint64_t number = 0;
    std::wstring text;
};

// The result of schema-driven decoding: for each property of the schema a list of values, one, several for
// an array, or none.
struct EventValues {
    explicit EventValues(const EventSchema& eventSchema) : schema(&eventSchema) {}

    const EventSchema* schema; // not owned
    std::vector<std::vector<EventValue>> values;
};

// Reads the payload property by property into values. The schema alone moves the cursor, past the end of the
// payload too; what does not lie inside the payload is never touched and yields no value. Always true.
bool DecodeValues(EventValues& values, std::span<const std::byte> payload);

// The index of the property of this name, compared with A to Z folded, or -1.
int FindProperty(const EventValues& values, std::wstring_view name);

} // namespace keyreap
