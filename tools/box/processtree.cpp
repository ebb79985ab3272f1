#include "tools/box/processtree.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <vector>

namespace keyreap {
namespace {

namespace fs = std::filesystem;

// The second and third number of statm(5): resident and shared pages.
std::uint64_t OwnMemoryOf(const std::string& folder) {
    std::uint64_t all = 0;
    std::uint64_t resident = 0;
    std::uint64_t shared = 0;
    std::ifstream(folder + "/statm") >> all >> resident >> shared;
    return resident > shared ? (resident - shared) * PageSize() : 0;
}

void AddThreads(const std::string& folder, TreeUse& use, std::vector<int>& pending) {
    std::error_code error;
    for (fs::directory_iterator thread(folder + "/task", error), end; !error && thread != end;
         thread.increment(error)) {
        use.threads++;
        std::ifstream children(thread->path() / "children");
        for (int child = 0; children >> child;) {
            pending.push_back(child);
        }
    }
}

} // namespace

std::uint64_t PageSize() {
    return static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

TreeUse UseOfTree(const std::string& processes, int first, std::uint64_t threadCeiling) {
    TreeUse use;
    std::set<int> known;
    std::vector<int> pending = {first};
    while (!pending.empty() && (threadCeiling == 0 || use.threads <= threadCeiling)) {
        const int process = pending.back();
        pending.pop_back();
        if (known.insert(process).second) {
            const std::string folder = processes + "/" + std::to_string(process);
            use.memory += OwnMemoryOf(folder);
            AddThreads(folder, use, pending);
        }
    }
    return use;
}

} // namespace keyreap
