#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

// What the processes of a machine did to the registry while a server was captured, in order.
namespace keyreap {

inline constexpr std::size_t noIndex = std::numeric_limits<std::size_t>::max();

// A process, from its start on. A later one may have the same id.
struct StoryProcess {
    std::uint32_t id = 0;
    std::size_t parent = noIndex; // the index of the process that started it, if that is known
    std::wstring imageName;       // the file name; empty if unknown
    bool isOfCapture = false;     // started while the server was captured
};

// Where an operation is with regard to the trace that the result comes from. Without a trace all are During.
enum class StoryPhase : std::uint8_t { Before, During, After };

struct StoryOperation {
    std::uint8_t type = 0; // of registryevent
    StoryPhase phase = StoryPhase::During;
    bool isSystems = false;   // a trace leaves it out as the system's own
    bool isOtherView = false; // in the view of the other bitness
    bool isInner = false;     // by an inner part of the host, such as its loader
    std::uint32_t status = 0; // NT status
    std::uint32_t threadId = 0;
    std::size_t process = noIndex;
    std::wstring keyPath;   // the kernel's: of a key that was found the real one, else as asked for
    std::wstring valueName; // of an operation on a value
    std::wstring newName;   // of a renaming: the name in the place of the key's last one
    std::int64_t time = 0;  // of a kernel trace, units of 100 ns from its start; else 0
};

struct Story {
    std::vector<StoryProcess> processes;
    std::vector<StoryOperation> operations;
    // What the system does by itself in a process is left out, or isSystems or isInner.
    bool marksSystems = true;
};

} // namespace keyreap
