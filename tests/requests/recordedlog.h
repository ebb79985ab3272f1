#pragma once

#include "tests/unit/etl/independentdecoder.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace keyreap {

// One registry event of a log, with the full path of its key by the names of the control blocks.
struct RecordedEvent {
    int type = 0;
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::int64_t time = 0;
    std::uint32_t status = 0;
    std::wstring path;  // of the key; in a creation or opening, of the key that was asked for
    std::wstring value; // name of the value, of an event that has one
};

// A log file, read by the independent decoder, which throws at an irregularity. Events that only name control
// blocks are not in `events`.
class RecordedLog {
public:
    explicit RecordedLog(const std::wstring& file);

    // Events of a type of one process, in file order.
    std::vector<RecordedEvent> Of(int type, std::uint32_t processId) const;
    // The events that set a value of this name.
    std::vector<RecordedEvent> Setting(const std::wstring& value) const;

    independent::Log log;
    std::vector<RecordedEvent> events;

private:
    std::wstring NameOf(std::uint64_t block) const;

    std::map<std::uint64_t, std::wstring> blocks;
};

} // namespace keyreap
