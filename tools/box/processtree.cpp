#include "tools/box/processtree.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <set>
#include <vector>

namespace keyreap {
namespace {

namespace fs = std::filesystem;

// The lines of status(5) for memory that is no file's, in KB. What processes share counts for each of them.
std::uint64_t OwnMemoryOf(const std::string& folder) {
    std::uint64_t kilobytes = 0;
    std::ifstream status(folder + "/status");
    for (std::string name; status >> name;) {
        std::uint64_t number = 0;
        if ((name == "RssAnon:" || name == "RssShmem:") && status >> number) {
            kilobytes += number;
        }
        status.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return kilobytes << 10;
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
