#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace keyreap {

// Separates Wine's debug output from what programs write themselves, where both go to one stream. Wine writes
// whole lines, but a program may have left its own line open before.
class DebugSplitter {
public:
    using TakeLine = std::function<void(std::string_view line)>;

    explicit DebugSplitter(TakeLine take) : take(std::move(take)) {}

    // Takes the next bytes of the stream, and returns those of them (and of earlier ones) that are not debug
    // output. With `more` the bytes may end anywhere, and a possible start of one of Wine's lines waits for
    // the next bytes.
    std::string Split(std::string_view bytes, bool more);

private:
    TakeLine take;
    std::string pending;
};

} // namespace keyreap
