#pragma once

#include "hostlogger/requestline.h"

#include <string>
#include <string_view>

namespace keyreap {

// Decides which lines of a request log count for a reader: all but those of summaries, or from one summary on
// everything, with the lines of this summary (hostlogger/requestsummary.h).
class SummaryGate {
public:
    // No line counts before the summary of this mark.
    void Await(std::string_view wanted) {
        mark = wanted;
        state = State::awaits;
    }
    bool Awaits() const { return state == State::awaits; }

    // Needs every line, in the log's order.
    bool Admits(const RequestLine& line) {
        if (line.kind == RequestLine::Kind::summary) {
            if (state == State::awaits) {
                state = line.fields == mark ? State::admits : State::awaits;
            } else {
                state = State::skips;
            }
            return false;
        }
        if (line.kind == RequestLine::Kind::summaryEnd) {
            state = state == State::awaits ? State::awaits : State::admits;
            return false;
        }
        return state == State::admits;
    }

private:
    enum class State { admits, skips, awaits };

    std::string mark;
    State state = State::admits;
};

} // namespace keyreap
