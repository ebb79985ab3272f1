#include "tools/box/attempt.h"

#include "tools/box/bubblewrap.h"
#include "tools/box/callfilter.h"
#include "tools/box/endingsignals.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

namespace keyreap {
namespace {

constexpr int notFound = 127;
constexpr int firstFree = 20; // above all descriptors that a box begins with

void Await(pid_t& process) {
    if (process > 0) {
        while (waitpid(process, nullptr, 0) == -1 && errno == EINTR) {
        }
        process = -1;
    }
}

void AllowSignals() {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// The other program has no variable: everybody in the box can read those of its first process.
[[noreturn]] void Become(const std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (const std::string& word : words) {
        pointers.push_back(const_cast<char*>(word.c_str()));
    }
    pointers.push_back(nullptr);
    char* const none = nullptr;
    execve(pointers[0], pointers.data(), &none);
    _exit(notFound);
}

std::string Separated(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text.append(word).append(1, '\0');
    }
    return text;
}

// Gives each descriptor its number in the box. None of them may be one of these numbers already.
void Place(const std::vector<std::pair<int, int>>& places) {
    std::vector<std::pair<int, int>> moved;
    for (const auto& [from, to] : places) {
        if (from != -1) {
            moved.emplace_back(fcntl(from, F_DUPFD_CLOEXEC, firstFree), to);
        }
    }
    for (const auto& [from, to] : moved) {
        dup2(from, to);
    }
}

std::string OwnPath() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

// The descriptors that every box begins with, and these. The words go through a file, since anybody may read
// a command line, and variables of the caller's are among them.
void PlaceForBubblewrap(const BoxWords& words, bool hasUsers, std::vector<std::pair<int, int>> places) {
    places.insert(places.begin(),
                  {{FileOfWords(Separated(BubblewrapWords(words, hasUsers))), boxdescriptor::words},
                   {FileOfWords(RefusedCallBytes()), boxdescriptor::calls}});
    Place(places);
}

// Up to the program that it executes in the box.
std::vector<std::string> BubblewrapCommand(const std::string& program) {
    return {bubblewrapPath, "--args", std::to_string(boxdescriptor::words), "--", program};
}

} // namespace

Attempt::Attempt(const BoxWords& words, bool hasUsers, const ControlGroup& group)
    : errors(MakePipe()), begun(MakePipe()), info(MakePipe()) {
    if (words.log.IsWanted()) {
        log = MakePipe();
        StartFilter(words.log);
    }
    Start(words, hasUsers, group);
    Close(errors.writeEnd);
    Close(begun.writeEnd);
    Close(info.writeEnd);
    Close(log.writeEnd);
    Close(log.readEnd);
    ReadSigns();
    if (!HasBegun()) {
        complaints = ReadAll(errors.readEnd);
        Await(process);
        Await(filter);
    }
}

// If bwrap ends early, the first process of its box becomes a child of this process, and waits for bwrap for
// ever.
void Attempt::EndChildren() {
    kill(process, SIGKILL);
    Await(process);
    std::ifstream children("/proc/thread-self/children");
    for (pid_t child = 0; children >> child;) {
        if (child != filter) {
            kill(child, SIGKILL);
        }
    }
}

void Attempt::ReadSigns() {
    constexpr int interval = 20; // milliseconds between two looks for a signal
    const sigset_t signals = EndingSignals();
    const timespec now = {0, 0};
    char sign = 0;
    for (;;) {
        if (!isEnded && sigtimedwait(&signals, nullptr, &now) != -1) {
            isEnded = true;
            EndChildren();
        }
        pollfd end = {begun.readEnd, POLLIN, 0};
        if (poll(&end, 1, interval) > 0) {
            const ssize_t length = read(begun.readEnd, &sign, 1);
            if (length == 0) {
                return;
            }
            signs.append(length > 0 ? 1 : 0, sign);
        }
    }
}

Attempt::~Attempt() {
    for (int* descriptor : {&errors.readEnd, &begun.readEnd, &info.readEnd}) {
        Close(*descriptor);
    }
}

std::string Attempt::Complaint() const {
    std::string text = complaints.substr(0, complaints.find_last_not_of('\n') + 1);
    text = text.substr(text.find_last_of('\n') + 1);
    const std::string name = "bwrap: ";
    if (text.starts_with(name)) {
        text = text.substr(name.size());
    }
    return text.empty() ? std::string(bubblewrapPath) + " can't be run" : text;
}

std::string Attempt::Information() {
    return ReadAll(info.readEnd);
}

void Attempt::AwaitFilter() {
    Await(filter);
}

void Attempt::StartFilter(const RequestLog& words) {
    filter = fork();
    if (filter == 0) {
        AllowSignals();
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(log.readEnd, STDIN_FILENO);
        dup2(nothing, STDOUT_FILENO);
        dup2(nothing, STDERR_FILENO);
        // A signal of the terminal ends the server first, and the filter with it.
        setsid();
        Become({words.filter, words.file, words.mixedKeys, words.unplacedLines});
    }
}

void Attempt::Start(const BoxWords& words, bool hasUsers, const ControlGroup& group) {
    process = fork();
    if (process == 0) {
        AllowSignals();
        group.Join();
        BecomeBubblewrap(words, hasUsers);
    }
}

void Attempt::BecomeBubblewrap(const BoxWords& words, bool hasUsers) {
    const std::string self = OwnPath();
    BoxWords all = words;
    all.seen.push_back(self);
    PlaceForBubblewrap(all, hasUsers,
                       {{STDERR_FILENO, boxdescriptor::errors},
                        {begun.writeEnd, boxdescriptor::begun},
                        {log.writeEnd, boxdescriptor::log},
                        {info.writeEnd, boxdescriptor::info},
                        {errors.writeEnd, STDERR_FILENO}});
    std::vector<std::string> command = BubblewrapCommand(self);
    command.insert(command.end(),
                   {"inside", words.prefix, words.server, words.log.file,
                    std::to_string(words.ceilings.threads), std::to_string(words.ceilings.file)});
    command.insert(command.end(), words.command.begin(), words.command.end());
    Become(command);
}

bool EmptyBoxStands(bool hasUsers) {
    const pid_t process = fork();
    if (process == 0) {
        AllowSignals();
        const std::string self = OwnPath();
        BoxWords words;
        words.seen.push_back(self);
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        PlaceForBubblewrap(words, hasUsers, {{nothing, boxdescriptor::info}, {nothing, STDERR_FILENO}});
        std::vector<std::string> command = BubblewrapCommand(self);
        command.emplace_back("nothing");
        Become(command);
    }
    int status = -1;
    while (process > 0 && waitpid(process, &status, 0) == -1 && errno == EINTR) {
    }
    return status == 0;
}

} // namespace keyreap
