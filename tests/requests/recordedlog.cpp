#include "tests/requests/recordedlog.h"

#include "etl/registryevent.h"
#include "tests/support/temporaryfolder.h"

#include <algorithm>
#include <cstring>

namespace keyreap {

namespace {

std::vector<std::byte> Bytes(const std::string& text) {
    std::vector<std::byte> bytes(text.size());
    std::memcpy(bytes.data(), text.data(), text.size());
    return bytes;
}

bool NamesBlock(int type) {
    return type == registryevent::kcbCreate || type == registryevent::kcbRundownEnd;
}

} // namespace

RecordedLog::RecordedLog(const std::wstring& file)
    : log(independent::Decode(Bytes(testsupport::FileBytes(file)))) {
    const std::vector<independent::Record> records = log.Events();
    for (const independent::Record& record : records) {
        const independent::RegistryPayload payload = independent::DecodeRegistry(record);
        if (NamesBlock(record.header.PacketType)) {
            blocks[payload.KeyHandle] = payload.KeyName;
        }
    }
    for (const independent::Record& record : records) {
        const int type = record.header.PacketType;
        if (NamesBlock(type)) {
            continue;
        }
        const independent::RegistryPayload payload = independent::DecodeRegistry(record);
        RecordedEvent event{type,
                            record.header.ProcessId,
                            record.header.ThreadId,
                            record.header.SystemTime,
                            payload.Status,
                            NameOf(payload.KeyHandle),
                            {}};
        if (type == registryevent::createKey || type == registryevent::openKey) {
            event.path += (event.path.empty() ? L"" : L"\\") + payload.KeyName;
        } else {
            event.value = payload.KeyName;
        }
        events.push_back(event);
    }
}

std::wstring RecordedLog::NameOf(std::uint64_t block) const {
    const auto found = blocks.find(block);
    if (found == blocks.end()) {
        return block == 0 ? std::wstring() : L"(a block without name)";
    }
    return found->second;
}

std::vector<RecordedEvent> RecordedLog::Of(int type, std::uint32_t processId) const {
    std::vector<RecordedEvent> found = events;
    std::erase_if(found, [&](const RecordedEvent& event) {
        return event.type != type || event.processId != processId;
    });
    return found;
}

std::vector<RecordedEvent> RecordedLog::Setting(const std::wstring& value) const {
    std::vector<RecordedEvent> found = events;
    std::erase_if(found, [&](const RecordedEvent& event) {
        return event.type != registryevent::setValue || event.value != value;
    });
    return found;
}

} // namespace keyreap
