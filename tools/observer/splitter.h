#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace keyreap {

// Parts Wine's debug output from what programs write themselves where both go to one stream. Wine writes a
// line at a time, but a program may have left its own line open before it.
class DebugSplitter {
public:
    using TakeLine = std::function<void(std::string_view line)>;

    explicit DebugSplitter(TakeLine takeLine) : take(std::move(takeLine)) {}

    // Takes the next bytes of the stream; gives those of them (and of earlier ones) that are no debug output.
    // With `more` the bytes may end anywhere, and what could be the start of a line of Wine's waits for the
    // next bytes.
    std::string Split(std::string_view bytes, bool more);

private:
    TakeLine take;
    std::string pending;
};

} // namespace keyreap
