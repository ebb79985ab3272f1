#include "hostlogger/requestrecorder.h"

#include "etl/registryevent.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <set>
#include <vector>

namespace keyreap {

namespace {

// Invented addresses of control blocks, which look like those of the kernel's paged pool.
constexpr std::uint64_t firstBlock = 0xFFFFA000'00000000;
constexpr std::uint64_t blockSize = 0x100;

// Whether the path is the name below the parent as asked for: no link and no Wow6432Node is in between.
bool IsPlainName(const std::wstring& parent, const std::wstring& name, const std::wstring& path) {
    return EqualFolded(path, parent + L'\\' + name);
}

} // namespace

void RequestRecorder::OnProcessStart(const ProcessStart& start) {
    if (recordsProcesses) {
        writer.Write(EtlProcessStart{std::max(start.time, startTime), start.processId, start.parentId,
                                     start.imageName});
    }
}

void RequestRecorder::OnKeyRequest(const KeyRequest& request) {
    EtlRegistryEvent event;
    event.type = request.type;
    event.time = std::max(request.time, startTime);
    event.initialTime = event.time;
    event.processId = request.processId;
    event.threadId = request.threadId;
    event.status = request.status;
    if (request.type == registryevent::createKey || request.type == registryevent::openKey) {
        WriteCreateOrOpen(request, event);
        return;
    }
    event.keyHandle = BlockOf(request.key->Path(facts)).address;
    event.keyName = request.name;
    writer.Write(event);
}

void RequestRecorder::WriteCreateOrOpen(const KeyRequest& request, EtlRegistryEvent event) {
    const std::wstring parent = request.parent ? request.parent->Path(facts) : std::wstring();
    const bool hasParent = request.parent != nullptr;
    std::wstring name = hasParent ? names.AskedName(parent, request.name) : names.AskedName(request.name);
    bool relative = hasParent;
    if (request.key) {
        const std::wstring& path = request.key->Path(facts);
        ControlBlock& block = BlockOf(path);
        if (!block.named) {
            NameBlock(registryevent::kcbCreate, block, event);
        }
        if (relative ? !IsPlainName(parent, request.name, path) : !EqualFolded(request.name, path)) {
            name = names.KernelName(path);
            relative = false;
        }
    }
    event.keyHandle = relative ? BlockOf(parent).address : 0;
    event.keyName = name;
    writer.Write(event);
}

RequestRecorder::ControlBlock& RequestRecorder::BlockOf(const std::wstring& path) {
    ControlBlock& block = blocks[FoldedText(path)];
    if (block.address == 0) {
        block.address = firstBlock + blocks.size() * blockSize;
        block.name = names.KernelName(path);
    }
    return block;
}

void RequestRecorder::NameBlock(std::uint8_t type, ControlBlock& block, EtlRegistryEvent event) {
    event.type = type;
    event.status = 0;
    event.keyHandle = block.address;
    event.keyName = block.name;
    block.named = true;
    writer.Write(event);
}

void RequestRecorder::RunDown(const RequestTracker& tracker) {
    EtlRegistryEvent event;
    event.time = std::max(tracker.Time(), startTime);
    event.initialTime = event.time;
    std::set<std::wstring> open;
    for (const auto& [address, key] : tracker.OpenKeys()) {
        open.insert(key->Path(facts));
    }
    for (const std::wstring& path : open) {
        BlockOf(path).named = false;
    }
    for (ControlBlock* const block : UnnamedBlocks()) {
        NameBlock(registryevent::kcbRundownEnd, *block, event);
    }
}

std::vector<RequestRecorder::ControlBlock*> RequestRecorder::UnnamedBlocks() {
    std::vector<ControlBlock*> unnamed;
    for (auto& [path, block] : blocks) {
        if (!block.named) {
            unnamed.push_back(&block);
        }
    }
    std::ranges::sort(unnamed, {}, &ControlBlock::address);
    return unnamed;
}

} // namespace keyreap
