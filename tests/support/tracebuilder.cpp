#include "tests/support/tracebuilder.h"

#include "trace/traceeventhandler.h"

#include <algorithm>

namespace keyreap {

namespace {

// sizeof(TRACE_LOGFILE_HEADER) of evntrace.h without and with 64-bit pointers, and its PointerSize.
constexpr std::size_t headerSize32 = 272;
constexpr std::size_t headerSize64 = 280;
constexpr std::size_t headerPointerSizeField = 44;

std::vector<std::byte> HeaderPayload(std::uint32_t pointerSize) {
    const std::size_t size = pointerSize == 8 ? headerSize64 : headerSize32;
    PayloadBuilder header;
    header.Zeros(headerPointerSizeField)
        .U32(pointerSize)
        .Zeros(size - headerPointerSizeField - sizeof(pointerSize));
    return header.bytes;
}

void AppendPointer(PayloadBuilder& payload, std::uint64_t pointer, std::uint32_t pointerSize) {
    if (pointerSize == 8) {
        payload.U64(pointer);
    } else {
        payload.U32(static_cast<std::uint32_t>(pointer));
    }
}

} // namespace

std::vector<std::byte> RegistryPayload(const RegistryFields& fields, std::uint16_t version,
                                       std::uint32_t pointerSize) {
    PayloadBuilder payload;
    const auto initialTime = static_cast<std::uint64_t>(fields.initialTime);
    if (version >= 2) {
        payload.U64(initialTime).U32(fields.status).U32(fields.index);
        AppendPointer(payload, fields.keyHandle, pointerSize);
        return payload.WideZ(fields.name).bytes;
    }
    // The status is as wide as a pointer. After it come the handle, eight bytes that are the time in version
    // 0, in version 1 the index, and the name.
    AppendPointer(payload, fields.status, pointerSize);
    AppendPointer(payload, fields.keyHandle, pointerSize);
    payload.U64(version == 0 ? initialTime : 0);
    if (version == 1) {
        payload.U32(fields.index);
    }
    return payload.WideZ(fields.name).bytes;
}

TraceEvent TraceBuilder::Event::View() const {
    TraceEvent event;
    event.guid = guid;
    event.type = type;
    event.version = version;
    event.processId = processId;
    event.threadId = threadId;
    event.timeStamp = timeStamp;
    event.payload = payload;
    return event;
}

TraceBuilder::TraceBuilder(std::uint32_t pointerSize) : pointerSize(pointerSize) {
    Add(EventTraceGuid, 0, HeaderPayload(pointerSize));
}

TraceBuilder& TraceBuilder::ByProcess(std::uint32_t id) {
    processId = id;
    return *this;
}

TraceBuilder& TraceBuilder::ByThread(std::uint32_t id) {
    threadId = id;
    return *this;
}

TraceBuilder& TraceBuilder::InVersion(std::uint16_t number) {
    version = number;
    return *this;
}

TraceBuilder& TraceBuilder::AtTime(std::int64_t time) {
    nextTime = time;
    return *this;
}

TraceBuilder& TraceBuilder::CreateKey(std::uint64_t handle, std::wstring_view name, std::uint32_t status) {
    return Operation(registryevent::createKey, handle, name, status);
}

TraceBuilder& TraceBuilder::OpenKey(std::uint64_t handle, std::wstring_view name, std::uint32_t status) {
    return Operation(registryevent::openKey, handle, name, status);
}

TraceBuilder& TraceBuilder::DeleteKey(std::uint64_t handle, std::wstring_view name, std::uint32_t status) {
    return Operation(registryevent::deleteKey, handle, name, status);
}

TraceBuilder& TraceBuilder::QueryKey(std::uint64_t handle, std::wstring_view name, std::uint32_t status) {
    return Operation(registryevent::queryKey, handle, name, status);
}

TraceBuilder& TraceBuilder::SetValue(std::uint64_t handle, std::wstring_view name, std::uint32_t status) {
    return Operation(registryevent::setValue, handle, name, status);
}

TraceBuilder& TraceBuilder::DeleteValue(std::uint64_t handle, std::wstring_view name, std::uint32_t status) {
    return Operation(registryevent::deleteValue, handle, name, status);
}

TraceBuilder& TraceBuilder::QueryValue(std::uint64_t handle, std::wstring_view name, std::uint32_t status) {
    return Operation(registryevent::queryValue, handle, name, status);
}

TraceBuilder& TraceBuilder::KeyHandleNamed(std::uint64_t handle, std::wstring_view path) {
    return Operation(registryevent::kcbCreate, handle, path, 0);
}

TraceBuilder& TraceBuilder::KeyHandleDropped(std::uint64_t handle, std::wstring_view path) {
    return Operation(registryevent::kcbDelete, handle, path, 0);
}

TraceBuilder& TraceBuilder::OpenBefore(std::uint64_t handle, std::wstring_view path) {
    rundown.push_back({handle, std::wstring(path)});
    return *this;
}

TraceBuilder& TraceBuilder::Registry(std::uint8_t type, const RegistryFields& fields) {
    return Add(RegistryGuid, type, RegistryPayload(fields, version, pointerSize));
}

TraceBuilder& TraceBuilder::Add(const Guid& guid, std::uint8_t type, std::vector<std::byte> payload) {
    events.push_back({guid, type, version, processId, threadId, nextTime++, std::move(payload)});
    return *this;
}

std::vector<TraceBuilder::Event> TraceBuilder::Events() const {
    TraceBuilder whole = *this;
    whole.ByProcess(0); // no process causes the rundown
    for (const NamedHandle& key : rundown) {
        whole.Operation(registryevent::kcbRundownEnd, key.handle, key.path, 0);
    }
    return whole.events;
}

void TraceBuilder::Play(TraceEventHandler& handler) const {
    for (const Event& event : Events()) {
        handler.OnEvent(event.View());
    }
    handler.OnFinished();
}

TraceBuilder& TraceBuilder::Operation(std::uint8_t type, std::uint64_t handle, std::wstring_view name,
                                      std::uint32_t status) {
    RegistryFields fields;
    fields.keyHandle = handle;
    fields.name = name;
    fields.status = status;
    return Registry(type, fields);
}

} // namespace keyreap
