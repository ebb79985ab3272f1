#include "hostlogger/serverprocess.h"

#include <algorithm>

namespace keyreap {

OpenKey::OpenKey(std::shared_ptr<const OpenKey> parent, std::wstring name, KeyView view)
    : parent(std::move(parent)), name(std::move(name)), view(view) {
    if (this->parent && !this->parent->path) {
        depth = this->parent->depth + 1;
    }
}

const std::wstring& OpenKey::Path(KeyFacts& facts) const {
    if (!path) {
        path = FindRealPath(parent ? parent->Path(facts) : std::wstring(), name, view, facts);
        parent.reset();
        name = std::wstring();
    }
    return *path;
}

ServerProcess* ServerProcesses::Find(std::uint32_t processId) {
    const auto found = processes.find(processId);
    return found == processes.end() ? nullptr : &found->second;
}

void ServerProcesses::Start(std::uint32_t processId, const ServerProcess* parent,
                            std::span<const std::uint32_t> listed) {
    const auto isListed = [&](std::uint32_t value) {
        return listed.empty() || std::ranges::find(listed, value) != listed.end();
    };
    ServerProcess child;
    if (parent) {
        for (const auto& [value, handle] : parent->handles) {
            if (handle.inheritable && isListed(value)) {
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
