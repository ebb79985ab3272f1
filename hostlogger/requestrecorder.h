#pragma once

#include "etl/etlwriter.h"
#include "hostlogger/requesttracker.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace keyreap {

// Writes requests about the registry as the events that the kernel logger would write for them. As there, a
// key has one control block, whose address stands for it in every event; its name is told by an event of its
// own when the block is made, or at the end if the key was open before. A failure of the writer is told when
// that finishes.
class RequestRecorder : public KeyRequestListener {
public:
    // No event is older than the start, given in the log's clock.
    RequestRecorder(EtlWriter& destination, KeyFacts& registry, std::int64_t start)
        : writer(destination), facts(registry), startTime(start) {}

    void OnKeyRequest(const KeyRequest& request) override;
    void OnLostLines() override {}
    void OnMissingKey(const std::wstring&) override {}

    // Names the control blocks that no event has named yet, and those of all keys open now. Ends the record.
    void RunDown(const RequestTracker& tracker);

private:
    struct ControlBlock {
        std::uint64_t address = 0;
        std::wstring path; // as it was spelled first
        bool named = false;
    };

    ControlBlock& BlockOf(const std::wstring& path);
    // In the order in which they were made.
    std::vector<ControlBlock*> UnnamedBlocks();
    void NameBlock(std::uint8_t type, ControlBlock& block, EtlRegistryEvent event);
    void WriteCreateOrOpen(const KeyRequest& request, EtlRegistryEvent event);

    EtlWriter& writer;
    KeyFacts& facts;
    std::int64_t startTime;
    std::unordered_map<std::wstring, ControlBlock> blocks; // by path, A to Z folded
};

} // namespace keyreap
