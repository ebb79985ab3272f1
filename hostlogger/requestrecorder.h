#pragma once

#include "etl/etlwriter.h"
#include "hostlogger/reportednames.h"
#include "hostlogger/requesttracker.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace keyreap {

// Writes requests about the registry as the events that the kernel logger would write for them. As in its
// logs, a key has one control block, whose address identifies it in every event. Another event gives the name
// of the block: when the block is made, or at the end if the key was open before. The writer reports its
// failures when it finishes.
class RequestRecorder : public KeyRequestListener {
public:
    // No event is older than the start time, which is in the log's clock.
    RequestRecorder(EtlWriter& writer, KeyFacts& facts, std::int64_t startTime, ReportedNames names = {})
        : writer(writer), facts(facts), startTime(startTime), names(std::move(names)) {}

    // From now on the starts of processes are recorded as well.
    void RecordProcesses() { recordsProcesses = true; }

    void OnProcessStart(const ProcessStart& start) override;
    void OnKeyRequest(const KeyRequest& request) override;
    void OnLostLines() override {}
    void OnMissingKey(const std::wstring&) override {}

    // Names the control blocks that no event has named yet, and those of all open keys. Call it last.
    void RunDown(const RequestTracker& tracker);

private:
    struct ControlBlock {
        std::uint64_t address = 0;
        std::wstring name; // of its first use, as the kernel spells it
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
    ReportedNames names;
    bool recordsProcesses = false;
    std::unordered_map<std::wstring, ControlBlock> blocks; // by path, A to Z folded
};

} // namespace keyreap
