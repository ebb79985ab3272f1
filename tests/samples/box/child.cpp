#include "tests/samples/box/child.h"

#include "tests/samples/box/means.h"

namespace keyreap::samples::box {

namespace {

// A way that waits longer has its signal for a result.
constexpr int longestSeconds = 30;

[[noreturn]] void RunToEnd(Function function, const Arguments& arguments, int end) {
    Outcome outcome;
    Call(System::Alarm, longestSeconds);
    outcome.result = function(arguments, outcome.got);
    Call(System::Write, end, &outcome, sizeof(outcome));
    for (;;) {
        Call(System::End, 0);
    }
}

// Wine interrupts its threads with signals.
Word WaitFor(Word process, int& status) {
    constexpr Word interrupted = -4;
    Word result = interrupted;
    while (result == interrupted) {
        result = Call(System::Wait, process, &status, 0, nullptr);
    }
    return result;
}

} // namespace

Outcome InChild(Function function, const Arguments& arguments) {
    Outcome outcome;
    int ends[2] = {};
    // Orphans may keep its other end open.
    constexpr int notWaiting = 04000;
    Call(System::Pipe, &ends[0], closingOnExecution | notWaiting);
    const Word process = ForkProcess();
    if (process == 0) {
        RunToEnd(function, arguments, ends[1]);
    }
    // What was written stays in the pipe.
    int status = 0;
    outcome.result = process < 0 ? process : WaitFor(process, status);
    Call(System::Close, ends[1]);
    Call(System::Read, ends[0], &outcome, sizeof(outcome));
    Call(System::Close, ends[0]);
    outcome.signal = status & 0x7F;
    return outcome;
}

} // namespace keyreap::samples::box
