// Usage: replaymemory make FILE EVENTS OURS   writes a log of EVENTS events, OURS of them our operations
//        replaymemory replay FILE             replays it and prints the growth of the process's memory at its
//                                             peak and the least size of the accepted operations and the
//                                             names of handles, in bytes, then the number of operations
// The exit status is 0 if it succeeded.

#include "benchmarks/logreplay.h"
#include "benchmarks/machinelog.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace {

using namespace keyreap;

// A line of /proc/self/status, in bytes.
std::size_t OwnStatus(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string word;
    std::size_t kilobytes = 0;
    while (status >> word) {
        if (word == name + ":") {
            status >> kilobytes;
        }
    }
    return kilobytes * 1024;
}

bool Replay(const char* file) {
    const std::size_t before = OwnStatus("VmRSS");
    const ReplayResult result = ReplayLogFile(file, MachineLog::ourProcess);
    const std::size_t peak = OwnStatus("VmHWM") - before;
    const std::size_t least = LeastSizeOf(file, MachineLog::ourProcess);
    std::printf("%zu %zu %zu\n", peak, least, static_cast<std::size_t>(result.operations));
    return result.complete;
}

bool Make(const char* file, const char* events, const char* ours) {
    return MachineLog{std::strtoull(events, nullptr, 10), std::strtoull(ours, nullptr, 10)}.Write(file);
}

bool Run(int count, char** words) {
    if (count == 5 && std::strcmp(words[1], "make") == 0) {
        return Make(words[2], words[3], words[4]);
    }
    return count == 3 && std::strcmp(words[1], "replay") == 0 && Replay(words[2]);
}

} // namespace

int main(int count, char** words) {
    return Run(count, words) ? 0 : 1;
}
