#include "tools/box/controlgroup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>

namespace keyreap {
namespace {

constexpr int groupMode = 0755;
constexpr int mostTries = 10;

// False if the kernel refuses the value, too.
bool WriteTo(const std::string& file, const std::string& text) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor == -1) {
        return false;
    }
    const bool isWritten = write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(descriptor);
    return isWritten;
}

// The group of a controller in a text like /proc/self/cgroup; the unified hierarchy has the empty name.
std::string GroupOf(const std::string& own, const std::string& controller) {
    std::istringstream lines(own);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t names = line.find(':');
        const std::size_t path = line.find(':', names + 1);
        if (path != std::string::npos && line.substr(names + 1, path - names - 1) == controller) {
            return line.substr(path + 1);
        }
    }
    return {};
}

} // namespace

// The files are those of the kernel's documents cgroup-v1 and cgroup-v2.
ControlGroup::ControlGroup(const std::string& root, const std::string& own, const Ceilings& ceilings) {
    if (const std::string group = GroupOf(own, "memory"); !group.empty() && ceilings.memory != 0) {
        if (Make(root + "/memory" + group, "memory.limit_in_bytes", ceilings.memory)) {
            memoryEvents = folders.back() + "/memory.oom_control";
            WriteTo(folders.back() + "/memory.memsw.limit_in_bytes", std::to_string(ceilings.memory));
        }
    }
    if (const std::string group = GroupOf(own, "pids"); !group.empty() && ceilings.threads != 0) {
        Make(root + "/pids" + group, "pids.max", ceilings.threads);
    }
    const std::string unified = GroupOf(own, "");
    if (unified.empty() || !folders.empty() || ceilings.memory == 0) {
        return;
    }
    if (Make(root + unified, "memory.max", ceilings.memory)) {
        memoryEvents = folders.back() + "/memory.events";
        WriteTo(folders.back() + "/memory.swap.max", "0");
        if (ceilings.threads != 0) {
            WriteTo(folders.back() + "/pids.max", std::to_string(ceilings.threads));
        }
    }
}

ControlGroup::~ControlGroup() {
    for (const std::string& folder : folders) {
        rmdir(folder.c_str());
    }
}

bool ControlGroup::Make(const std::string& parent, const std::string& limit, std::uint64_t value) {
    // Another process may have this number in its own namespace, or have left the folder.
    std::string folder = parent + "/keyreap-" + std::to_string(getpid());
    for (int tries = 0; mkdir(folder.c_str(), groupMode) != 0; tries++) {
        if (errno != EEXIST || tries == mostTries) {
            return false;
        }
        folder += "-";
    }
    if (!WriteTo(folder + "/" + limit, std::to_string(value))) {
        rmdir(folder.c_str());
        return false;
    }
    folders.push_back(folder);
    return true;
}

void ControlGroup::Join() const {
    for (const std::string& folder : folders) {
        WriteTo(folder + "/cgroup.procs", "0");
    }
}

bool ControlGroup::RanOutOfMemory() const {
    std::ifstream events(memoryEvents);
    std::string name;
    for (std::uint64_t count = 0; events >> name >> count;) {
        if (name == "oom_kill" && count != 0) {
            return true;
        }
    }
    return false;
}

} // namespace keyreap
