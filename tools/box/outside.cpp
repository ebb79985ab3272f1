#include "tools/box/outside.h"

#include "tools/box/attempt.h"
#include "tools/box/controlgroup.h"
#include "tools/box/descriptors.h"
#include "tools/box/endingsignals.h"
#include "tools/box/processtree.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <fstream>
#include <iterator>

namespace keyreap {
namespace {

constexpr int boxFailed = 125;
constexpr int signalled = 128;
constexpr long interval = 200'000'000; // nanoseconds between two looks at what the box uses

// What the program waits for.
sigset_t AwaitedSignals() {
    sigset_t signals = EndingSignals();
    sigaddset(&signals, SIGCHLD);
    return signals;
}

std::string TextOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Megabytes(std::uint64_t bytes) {
    return std::to_string(bytes >> 20) + " MB";
}

// Ends the box when it passes a ceiling.
class Watch {
public:
    Watch(const Ceilings& ceilings, const ControlGroup& group) : ceilings(ceilings), group(group) {}

    // Which ceiling the processes have passed, as a piece of a sentence; empty for none.
    std::string PassedBy(pid_t first) const {
        const std::string memory = "more than " + Megabytes(ceilings.memory) + " of memory";
        if (group.RanOutOfMemory()) {
            return memory;
        }
        const TreeUse use = UseOfTree("/proc", first, ceilings.threads);
        if (ceilings.threads != 0 && use.threads > ceilings.threads) {
            return "more than " + std::to_string(ceilings.threads) + " processes and threads";
        }
        return ceilings.memory != 0 && use.memory > ceilings.memory ? memory : std::string();
    }

private:
    const Ceilings& ceilings;
    const ControlGroup& group;
};

// The number of a box's first process in what bwrap reports; 0 if it isn't there.
pid_t FirstProcessIn(const std::string& report) {
    const std::string name = "\"child-pid\":";
    const std::size_t place = report.find(name);
    return place == std::string::npos ? 0
                                      : static_cast<pid_t>(std::atoi(report.c_str() + place + name.size()));
}

// The first process is gone when all others are. If bwrap ended before it, it is this process's child by now.
void EndAll(pid_t first) {
    if (first > 0 && waitpid(first, nullptr, WNOHANG) == 0) {
        kill(first, SIGKILL);
        while (waitpid(first, nullptr, 0) == -1 && errno == EINTR) {
        }
    }
}

void BlockSignals() {
    const sigset_t signals = AwaitedSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

class Box {
public:
    explicit Box(const BoxWords& words)
        : words(words), group("/sys/fs/cgroup", TextOf("/proc/self/cgroup"), words.ceilings),
          watch(words.ceilings, group) {}

    int Run() {
        for (const bool hasUsers : {true, false}) {
            if (hasUsers || geteuid() == 0) {
                Attempt attempt(words, hasUsers, group);
                if (attempt.HasBegun() && !attempt.IsEnded()) {
                    return StatusOf(attempt);
                }
                if (attempt.IsEnded()) {
                    attempt.AwaitFilter();
                    EndAll(FirstProcessIn(attempt.Information()));
                    Report("ended", "");
                    return boxFailed;
                }
                complaint = attempt.Complaint();
            }
        }
        Report(AnyBoxStands() ? "refused" : "unavailable", complaint);
        return boxFailed;
    }

private:
    // Whether the machine lets this user make boxes, so that only this one failed.
    static bool AnyBoxStands() { return EmptyBoxStands(true) || (geteuid() == 0 && EmptyBoxStands(false)); }

    int StatusOf(Attempt& attempt) {
        const pid_t first = FirstProcessIn(attempt.Information());
        ReportBegin(first);
        const int status = Await(attempt.Process(), first);
        EndAll(first);
        attempt.AwaitFilter();
        if (passed.empty() && group.RanOutOfMemory()) {
            passed = "more than " + Megabytes(words.ceilings.memory) + " of memory";
        }
        if (!passed.empty()) {
            Report("ceiling", passed);
        } else {
            Report(attempt.HasServer() ? "ended" : "server", "");
        }
        return status;
    }

    // The status of bwrap, which is that of the command.
    int Await(pid_t process, pid_t first) {
        const sigset_t signals = AwaitedSignals();
        for (;;) {
            const timespec time = {0, interval};
            const int signal = sigtimedwait(&signals, nullptr, &time);
            int status = 0;
            if (waitpid(process, &status, WNOHANG) == process) {
                return WIFEXITED(status) ? WEXITSTATUS(status) : signalled + WTERMSIG(status);
            }
            if (signal == -1 && passed.empty()) {
                passed = watch.PassedBy(first);
            }
            if (!passed.empty() || (signal != -1 && signal != SIGCHLD)) {
                kill(process, SIGKILL);
            }
        }
    }

    // What the keeper of the session needs if this process is killed.
    void ReportBegin(pid_t first) const {
        std::ofstream report(words.report);
        report << "first " << first << '\n';
        for (const std::string& folder : group.Folders()) {
            report << "group " << folder << '\n';
        }
    }

    void Report(const char* kind, const std::string& text) const {
        std::ofstream(words.report) << kind << (text.empty() ? "" : " ") << text << '\n';
    }

    const BoxWords& words;
    ControlGroup group;
    Watch watch;
    std::string complaint;
    std::string passed;
};

} // namespace

int RunOutside(const BoxWords& words) {
    BlockSignals();
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    // What bwrap leaves is this program's to end.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    KeepFromOthers(STDERR_FILENO + 1);
    return Box(words).Run();
}

} // namespace keyreap
