// Processes that go on after the registration, and try to do so after the run: orphans in sessions of their
// own that ignore every signal and no longer have the run's environment. A test finds them by their name.
#include "tests/samples/box/means.h"

#include <limits>

namespace keyreap::samples::box {

namespace {

constexpr unsigned stepsOfASecond = 100;
constexpr unsigned megabytesOfOne = 50;

void Step() {
    const Word interval[] = {0, 1'000'000'000 / stepsOfASecond};
    Call(System::Sleep, &interval[0], nullptr);
}

void IgnoreSignals() {
    constexpr int signals = 64;
    struct Action {
        Word handler = 1;
        Word flags = 0;
        Word restorer = 0;
        std::uint32_t mask[2] = {};
    };
    constexpr Action ignore;
    for (int signal = 1; signal <= signals; ++signal) {
        Call(System::SignalAction, signal, &ignore, nullptr, sizeof(ignore.mask));
    }
}

// The addresses are the 50th and 51st field; the second one is a name in parentheses.
void EraseEnvironment() {
    constexpr int fieldsBefore = 48;
    constexpr Word highest = std::numeric_limits<std::intptr_t>::max();
    char stat[1024];
    const Word file = Call(System::Open, "/proc/self/stat", reading);
    const Word size = Call(System::Read, file, &stat[0], sizeof(stat));
    Call(System::Close, file);
    std::string_view rest(stat, size < 0 ? 0 : static_cast<std::size_t>(size));
    rest.remove_prefix(rest.rfind(')') + 1);
    for (int field = 0; field < fieldsBefore; ++field) {
        rest.remove_prefix(rest.find(' ') + 1);
    }
    const std::size_t middle = rest.find(' ');
    const auto begin = static_cast<Word>(NumberOf(rest.substr(0, middle)));
    rest.remove_prefix(middle + 1);
    const auto end = static_cast<Word>(NumberOf(rest.substr(0, rest.find(' '))));
    // 32-bit code doesn't reach it.
    for (Word address = begin; address < end && end <= highest; ++address) {
        *reinterpret_cast<volatile char*>(static_cast<std::uintptr_t>(address)) = '\0';
    }
}

void Disguise(const char* name) {
    constexpr int setName = 15;
    IgnoreSignals();
    EraseEnvironment();
    // As long as it has those of the program, Wine's server takes the program for running, and the run goes
    // on.
    Call(System::CloseAll, 0, ~0U, 0);
    Call(System::ControlProcess, setName, name, 0, 0, 0);
}

// Runs a function in an orphan named `name`; an error's number below zero if there can be none.
template <typename Body>
Word InOrphan(const char* name, Body body) {
    const Word first = ForkProcess();
    if (first == 0) {
        Call(System::NewSession);
        const Word second = ForkProcess();
        if (second == 0) {
            Disguise(name);
            body();
        }
        Call(System::End, second < 0 ? -second : 0);
    }
    int status = 0;
    Call(System::Wait, first, &status, 0, nullptr);
    return first < 0 ? first : -(status >> 8 & 0xFF);
}

void Stay(unsigned long long steps) {
    for (; steps > 0; --steps) {
        Step();
    }
}

void StayStopped(unsigned long long) {
    constexpr int stop = 19;
    Call(System::Kill, Call(System::ProcessId), stop);
}

// A process for each step, so that whoever looks for it finds one that has ended.
void StayInSuccessors(unsigned long long steps) {
    for (; steps > 0 && ForkProcess() == 0; --steps) {
        Step();
    }
}

void StayLarge(unsigned long long steps) {
    TakeMemory(megabytesOfOne);
    Stay(steps);
}

void (*BodyOf(std::string_view kind))(unsigned long long) {
    if (kind == "stopped") {
        return StayStopped;
    }
    if (kind == "chain") {
        return StayInSuccessors;
    }
    return kind == "large" ? StayLarge : Stay;
}

// NAME SECONDS COUNT KIND: leaves a number of orphans.
Word Outlive(const Arguments& arguments, Text& got) {
    const auto stay = BodyOf(arguments[3]);
    const unsigned long long steps = arguments.NumberAt(1) * stepsOfASecond;
    const unsigned long long count = arguments.NumberAt(2);
    unsigned long long done = 0;
    Word result = 0;
    while (done < count && (result = InOrphan(arguments[0], [=] { stay(steps); })) >= 0) {
        ++done;
    }
    got.Append(done);
    got.Append(" processes");
    return result < 0 ? result : 0;
}

// NAME SECONDS FILE: an orphan makes a file, whenever somebody has written to it, a program that runs as its
// owner.
Word KeepPrivileged(const Arguments& arguments, Text&) {
    return InOrphan(arguments[0], [&] {
        constexpr int privileged = 04755;
        for (unsigned long long steps = arguments.NumberAt(1) * stepsOfASecond; steps > 0; --steps) {
            Call(System::ChangeMode, arguments[2], privileged);
            Step();
        }
    });
}

bool IsWritten(const char* path) {
    char unit = 0;
    // A pipe has no content, and must not be waited for.
    constexpr int notWaiting = 04000;
    const Word file = Call(System::Open, path, reading | notWaiting);
    const Word size = Call(System::Read, file, &unit, sizeof(unit));
    Call(System::Close, file);
    return size > 0;
}

void ReplaceBy(const char* target, const char* file) {
    constexpr int pipe = 010666;
    if (*target == '\0') {
        Call(System::MakeNode, file, pipe, 0);
    } else {
        Call(System::SymbolicLink, target, file);
    }
}

// NAME SECONDS FILE TARGET: an orphan replaces a file whenever it has content, by a link to the target or,
// without one, by a pipe without a writer.
Word Swap(const Arguments& arguments, Text&) {
    return InOrphan(arguments[0], [&] {
        // As long as it has those of the program, Wine's server takes the program for running, and no result
        // is written.
        Call(System::CloseAll, 0, ~0U, 0);
        const char* file = arguments[2];
        for (unsigned long long steps = arguments.NumberAt(1) * stepsOfASecond; steps > 0; --steps) {
            if (IsWritten(file) && Call(System::Remove, file) == 0) {
                ReplaceBy(arguments[3], file);
            }
            Step();
        }
    });
}

constexpr Way ways[] = {{"outlive", Outlive}, {"swap", Swap}, {"keepprivileged", KeepPrivileged}};

} // namespace

std::span<const Way> LastingWays() {
    return ways;
}

} // namespace keyreap::samples::box
