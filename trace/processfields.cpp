#include "trace/processfields.h"

#include "etl/payload.h"
#include "trace/schema/schemahost.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace keyreap {

namespace {

// EVENT_TRACE_TYPE_START and EVENT_TRACE_TYPE_DC_START of evntrace.h.
constexpr std::uint8_t processStart = 1;
constexpr std::uint8_t processRundown = 3;

// Offsets as a number of pointers and a number of bytes.
struct FieldOffset {
    std::size_t pointers;
    std::size_t bytes;

    std::size_t At(std::size_t pointerSize) const { return pointers * pointerSize + bytes; }
};

struct ProcessLayout {
    FieldOffset processId;
    FieldOffset parentId;
    FieldOffset userSid; // the image's name follows
};

// By the published MOF classes Process_V0 to Process_V4; later versions keep the last layout.
constexpr std::array<ProcessLayout, 5> layouts{{
    {{0, 0}, {1, 0}, {2, 0}},
    {{1, 0}, {1, 4}, {1, 16}},
    {{1, 0}, {1, 4}, {1, 16}},
    {{1, 0}, {1, 4}, {2, 16}},
    {{1, 0}, {1, 4}, {2, 20}},
}};

// Where the SID ends that begins at the offset: a TOKEN_USER, which takes two pointers, and the SID itself;
// or a zero of 32 bits for none.
std::size_t EndOfSid(const Payload& payload, std::size_t offset, std::size_t pointerSize) {
    constexpr std::size_t countField = 1; // SubAuthorityCount of a SID (winnt.h)
    constexpr std::size_t fixedSize = 8;
    constexpr std::size_t authoritySize = 4;
    if (payload.Number<std::uint32_t>(offset) == 0) {
        return offset + sizeof(std::uint32_t);
    }
    const std::size_t sid = offset + 2 * pointerSize;
    return sid + fixedSize + authoritySize * payload.Number<std::uint8_t>(sid + countField);
}

std::wstring FileName(const std::wstring& path) {
    return path.substr(path.rfind(L'\\') + 1);
}

} // namespace

bool IsProcessStart(const TraceEvent& event) {
    return event.guid == ProcessGuid && event.type == processStart;
}

bool IsProcessRundown(const TraceEvent& event) {
    return event.guid == ProcessGuid && event.type == processRundown;
}

std::optional<ProcessFields> ReadProcessFields(const TraceEvent& event, std::uint32_t pointerSize) {
    const std::size_t pointer = pointerSize == 8 ? 8 : 4;
    const ProcessLayout& layout = layouts[std::min<std::size_t>(event.version, layouts.size() - 1)];
    const Payload payload(event.payload);
    const std::size_t parent = layout.parentId.At(pointer);
    if (!payload.Holds(parent, sizeof(std::uint32_t))) {
        return {};
    }
    ProcessFields fields;
    fields.processId = payload.Number<std::uint32_t>(layout.processId.At(pointer));
    fields.parentId = payload.Number<std::uint32_t>(parent);
    const Payload::NarrowRun image =
        payload.NarrowText(EndOfSid(payload, layout.userSid.At(pointer), pointer));
    if (image.terminated) {
        fields.imageName = FileName(WidenNarrowText(image.text));
    }
    return fields;
}

} // namespace keyreap
