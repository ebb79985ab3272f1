#include "kit/capturejobs.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

namespace keyreap {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int notStarted = 127;
constexpr auto tickTime = std::chrono::milliseconds(200);
// A session ends within seconds. What is left of one after this time is killed.
constexpr auto patience = std::chrono::seconds(30);

int endingSignal = 0;

sigset_t AwaitedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

[[noreturn]] void ThrowError(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// The cores that this program may use.
std::vector<int> Cores() {
    cpu_set_t set;
    CPU_ZERO(&set);
    std::vector<int> cores;
    if (sched_getaffinity(0, sizeof(set), &set) == 0) {
        for (int core = 0; core < CPU_SETSIZE; ++core) {
            if (CPU_ISSET(core, &set)) {
                cores.push_back(core);
            }
        }
    }
    return cores;
}

// A session stays on the core on which it begins; two that run at once get two.
void StartOn(int core) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(core, &set);
    sched_setaffinity(0, sizeof(set), &set);
}

class RunningJob {
public:
    RunningJob(std::size_t place, std::size_t slot, const CaptureJob& job, const std::vector<int>& cores)
        : place(place), slot(slot), begun(Clock::now()) {
        std::array<int, 2> ends = {};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            ThrowError("a pipe can't be made");
        }
        const pid_t parent = getpid();
        process = fork();
        if (process == -1) {
            ThrowError("a process can't be made");
        }
        if (process == 0) {
            Become(job, ends[1], cores.empty() ? -1 : cores[slot % cores.size()], parent);
        }
        close(ends[1]);
        pipe = ends[0];
        fcntl(pipe, F_SETFL, O_NONBLOCK);
    }

    ~RunningJob() { close(pipe); }
    RunningJob(const RunningJob&) = delete;
    RunningJob& operator=(const RunningJob&) = delete;

    void Read() {
        std::array<char, 4096> piece{};
        for (ssize_t length = 1; length > 0;) {
            length = read(pipe, piece.data(), piece.size());
            if (length > 0) {
                text.append(piece.data(), static_cast<std::size_t>(length));
            }
        }
    }

    double Seconds() const { return std::chrono::duration<double>(Clock::now() - begun).count(); }

    void End() {
        if (!isEnded) {
            isEnded = true;
            endedAt = Clock::now();
            kill(process, SIGTERM);
        } else if (Clock::now() - endedAt > patience) {
            kill(-process, SIGKILL);
        }
    }

    const std::size_t place;
    const std::size_t slot;
    pid_t process = -1;
    int pipe = -1;
    bool isEnded = false;
    std::string text;

private:
    [[noreturn]] static void Become(const CaptureJob& job, int errors, int core, pid_t parent) {
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        // A signal from the keyboard comes to this program alone, which passes it on.
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) {
            _exit(notStarted);
        }
        if (core != -1) {
            StartOn(core);
        }
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(nothing, STDIN_FILENO);
        dup2(nothing, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        _exit(job());
    }

    const Clock::time_point begun;
    Clock::time_point endedAt;
};

class JobRunner {
public:
    JobRunner(std::size_t count, const CaptureJobRules& rules, const CaptureJobSinks& sinks)
        : count(count), rules(rules), sinks(sinks), cores(Cores()) {
        const sigset_t awaited = AwaitedSignals();
        sigprocmask(SIG_BLOCK, &awaited, &before);
        // What a job leaves is this program's to wait for.
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        signals = signalfd(-1, &awaited, SFD_CLOEXEC | SFD_NONBLOCK);
        if (signals == -1) {
            ThrowError("signals can't be awaited");
        }
    }

    ~JobRunner() {
        close(signals);
        sigprocmask(SIG_SETMASK, &before, nullptr);
    }
    JobRunner(const JobRunner&) = delete;
    JobRunner& operator=(const JobRunner&) = delete;

    bool Run() {
        while (next < count || !running.empty()) {
            while (endingSignal == 0 && next < count && running.size() < rules.atOnce) {
                Begin();
            }
            if (running.empty()) {
                break;
            }
            Await();
            EndLateJobs();
            sinks.tick();
        }
        AwaitOthers();
        return endingSignal == 0;
    }

private:
    void Begin() {
        const std::size_t place = next++;
        running.push_back(std::make_unique<RunningJob>(place, FreeSlot(), sinks.begin(place), cores));
    }

    std::size_t FreeSlot() const {
        for (std::size_t slot = 0;; ++slot) {
            if (std::ranges::find(running, slot, [](const auto& job) { return job->slot; }) ==
                running.end()) {
                return slot;
            }
        }
    }

    void Await() {
        std::vector<pollfd> awaited = {{signals, POLLIN, 0}};
        for (const auto& job : running) {
            awaited.push_back({job->pipe, POLLIN, 0});
        }
        poll(awaited.data(), awaited.size(), static_cast<int>(tickTime.count()));
        for (const auto& job : running) {
            job->Read();
        }
        TakeSignals();
        Reap();
    }

    void TakeSignals() {
        signalfd_siginfo info{};
        while (read(signals, &info, sizeof(info)) == sizeof(info)) {
            if (info.ssi_signo != SIGCHLD) {
                endingSignal = static_cast<int>(info.ssi_signo);
            }
        }
    }

    void Reap() {
        int status = 0;
        for (pid_t process = 1; process > 0;) {
            process = waitpid(-1, &status, WNOHANG);
            const auto found =
                std::ranges::find(running, process, [](const auto& job) { return job->process; });
            if (process > 0 && found != running.end()) {
                const std::unique_ptr<RunningJob> job = std::move(*found);
                running.erase(found);
                Report(*job, status);
            }
        }
    }

    void Report(RunningJob& job, int status) {
        job.Read();
        if (endingSignal != 0) {
            return;
        }
        CaptureJobResult result;
        result.hasTimedOut = job.isEnded;
        result.seconds = job.Seconds();
        result.text = std::move(job.text);
        if (WIFEXITED(status) && !job.isEnded) {
            result.status = WEXITSTATUS(status);
        }
        sinks.end(job.place, result);
    }

    void EndLateJobs() {
        for (const auto& job : running) {
            const bool isLate = rules.timeout != 0 && job->Seconds() > static_cast<double>(rules.timeout);
            if (isLate || endingSignal != 0) {
                job->End();
            }
        }
    }

    // A job that was ended may have left a session that is about to end.
    static void AwaitOthers() {
        while (waitpid(-1, nullptr, 0) != -1 || errno == EINTR) {
        }
    }

    const std::size_t count;
    const CaptureJobRules& rules;
    const CaptureJobSinks& sinks;
    const std::vector<int> cores;
    sigset_t before{};
    int signals = -1;
    std::size_t next = 0;
    std::vector<std::unique_ptr<RunningJob>> running;
};

} // namespace

bool RunCaptureJobs(std::size_t count, const CaptureJobRules& rules, const CaptureJobSinks& sinks) {
    return JobRunner(count, rules, sinks).Run();
}

void EndBySignal() {
    // No core file is wanted of SIGQUIT.
    prctl(PR_SET_DUMPABLE, 0);
    static_cast<void>(std::signal(endingSignal, SIG_DFL));
    raise(endingSignal);
    constexpr int signalled = 128;
    std::_Exit(signalled + endingSignal);
}

} // namespace keyreap
