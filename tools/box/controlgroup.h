#pragma once

#include "tools/box/boxwords.h"

#include <string>
#include <vector>

namespace keyreap {

// Groups of the kernel's that hold a session below its ceilings of memory and of processes, where the caller
// may make some: below its own group, in either version of the kernel's interface. Removed at its end, when
// the session has ended.
class ControlGroup {
public:
    // `root` is /sys/fs/cgroup, and `own` the text of /proc/self/cgroup.
    ControlGroup(const std::string& root, const std::string& own, const Ceilings& ceilings);
    ~ControlGroup();
    ControlGroup(const ControlGroup&) = delete;
    ControlGroup& operator=(const ControlGroup&) = delete;

    // The calling process and its later children belong to the groups.
    void Join() const;

    const std::vector<std::string>& Folders() const { return folders; }
    bool HoldsMemory() const { return !memoryEvents.empty(); }
    // True if the kernel ended a process since the memory was used up.
    bool RanOutOfMemory() const;

private:
    bool Make(const std::string& parent, const std::string& limit, std::uint64_t value);

    std::vector<std::string> folders;
    std::string memoryEvents; // the file that counts the processes that were ended
};

} // namespace keyreap
