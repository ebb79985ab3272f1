#include "platform/os/wine/serverprocess.h"

namespace keyreap {

const std::wstring& OpenKey::Path(KeyFacts& facts) const {
    if (path.empty()) {
        path = FindRealPath(parent ? parent->Path(facts) : std::wstring(), name, view, facts);
    }
    return path;
}

ServerProcess* ServerProcesses::Find(std::uint32_t processId) {
    const auto found = processes.find(processId);
    return found == processes.end() ? nullptr : &found->second;
}

void ServerProcesses::Start(std::uint32_t processId, const ServerProcess* parent) {
    ServerProcess child;
    if (parent) {
        for (const auto& [value, handle] : parent->handles) {
            if (handle.inheritable) {
                child.handles.emplace(value, handle);
            }
        }
    }
    processes[processId] = std::move(child);
}

std::uint32_t ServerProcesses::ProcessOf(std::uint32_t threadId) const {
    const auto found = threads.find(threadId);
    return found == threads.end() ? 0 : found->second;
}

} // namespace keyreap
