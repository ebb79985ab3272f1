#include "trace/registryfields.h"

#include "etl/payload.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

constexpr std::size_t absent = SIZE_MAX;

// The offsets of the fields in the payload of a registry event, in bytes.
struct FixedLayout {
    std::size_t status;
    std::size_t keyHandle;
    std::size_t initialTime;
    std::size_t index;
    std::size_t name;
};

struct LayoutOfVersion {
    FixedLayout narrow; // any pointer size but 8
    FixedLayout wide;   // pointer size 8
};

// By the published MOF classes Registry_V0, Registry_V1 and Registry; later versions keep the last layout.
constexpr std::array<LayoutOfVersion, 3> layouts{{
    {{0, 4, 8, absent, 16}, {0, 8, 16, absent, 24}},
    {{0, 4, absent, 16, 20}, {0, 8, absent, 24, 28}},
    {{8, 16, 0, 12, 20}, {8, 16, 0, 12, 24}},
}};

constexpr bool HasWidePointers(std::uint32_t pointerSize) {
    return pointerSize == 8;
}

const FixedLayout& LayoutFor(std::uint16_t version, std::uint32_t pointerSize) {
    const LayoutOfVersion& layout = layouts[std::min<std::size_t>(version, layouts.size() - 1)];
    return HasWidePointers(pointerSize) ? layout.wide : layout.narrow;
}

// 32-bit kernel addresses are sign-extended, so that their high bits stay set.
std::uint64_t SignExtended(std::uint64_t pointer) {
    return static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(pointer)});
}

std::uint64_t HandleIn(const Payload& payload, const FixedLayout& layout, std::uint32_t pointerSize) {
    return HasWidePointers(pointerSize) ? payload.Number<std::uint64_t>(layout.keyHandle)
                                        : SignExtended(payload.Number<std::uint32_t>(layout.keyHandle));
}

const EventValue* FirstValue(const EventValues& values, std::wstring_view property) {
    const int index = FindProperty(values, property);
    if (index < 0) {
        return nullptr;
    }
    const std::vector<EventValue>& list = values.values[static_cast<std::size_t>(index)];
    return list.empty() ? nullptr : &list.front();
}

} // namespace

RegistryFields ReadFixedFields(const TraceEvent& event, std::uint32_t pointerSize) {
    RegistryFields fields;
    ReadFixedFields(event, pointerSize, fields);
    return fields;
}

void ReadFixedFields(const TraceEvent& event, std::uint32_t pointerSize, RegistryFields& fields) {
    const FixedLayout& layout = LayoutFor(event.version, pointerSize);
    const Payload payload(event.payload);
    fields.keyHandle = HandleIn(payload, layout, pointerSize);
    fields.status = payload.Number<std::uint32_t>(layout.status);
    fields.index = payload.Number<std::uint32_t>(layout.index);
    fields.initialTime = payload.Number<std::int64_t>(layout.initialTime);
    Payload::TakeUnits(payload.TerminatedUnits(layout.name), fields.name);
}

NamedHandle ReadFixedName(const TraceEvent& event, std::uint32_t pointerSize) {
    const FixedLayout& layout = LayoutFor(event.version, pointerSize);
    const Payload payload(event.payload);
    return {HandleIn(payload, layout, pointerSize), payload.TerminatedUnits(layout.name)};
}

RegistryFields ReadSchemaFields(const EventValues& values, std::uint32_t pointerSize) {
    RegistryFields fields;
    fields.index = 0xFFFFFFFF;
    if (const EventValue* handle = FirstValue(values, L"KeyHandle")) {
        fields.keyHandle = HasWidePointers(pointerSize) ? handle->number : SignExtended(handle->number);
    }
    if (const EventValue* name = FirstValue(values, L"KeyName")) {
        fields.name = name->text;
    }
    if (const EventValue* status = FirstValue(values, L"Status")) {
        fields.status = static_cast<std::uint32_t>(status->number);
    }
    if (const EventValue* index = FirstValue(values, L"Index")) {
        fields.index = static_cast<std::uint32_t>(index->number);
    }
    if (const EventValue* time = FirstValue(values, L"InitialTime")) {
        fields.initialTime = static_cast<std::int64_t>(time->number);
    }
    return fields;
}

} // namespace keyreap
