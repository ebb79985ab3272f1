#pragma once

#include "kit/explain/meantkey.h"
#include "kit/explain/story.h"
#include "trace/replay/registrylog.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace keyreap {

// What the operation log of a replay says about the operations of a story.
class TraceView {
public:
    // Without a log nothing is in it. `isFull`: it may lack the oldest operations.
    TraceView(RegistryLog* log, bool isFull, const KeyNames& names);

    bool IsThere() const { return log != nullptr; }

    // Whether the log has an operation of the process.
    bool Watches(std::uint32_t processId) const { return watched.contains(processId); }

    // One more operation that the log should have.
    void Expect(const StoryOperation& operation);
    // Whether the log lacks it. Called once for each expected operation, in order.
    bool IsCut(const StoryOperation& operation);

    // Whether the log dropped the key: the current control set if no value was recorded in it, and the keys
    // above that have nothing else. In the redirected tree as well.
    bool Dropped(const StoryOperation& operation) const;

    bool HasSubkeys(const StoryOperation& operation) const;

private:
    std::wstring PlaceText(const StoryOperation& operation) const;

    RegistryLog* log;
    bool isFull;
    const KeyNames& names;
    std::unordered_set<std::uint32_t> watched;              // process ids
    std::unordered_map<std::wstring, std::size_t> expected; // by place and value
    std::unordered_map<std::wstring, std::size_t> asked;    // how many of these IsCut has been asked for
};

} // namespace keyreap
