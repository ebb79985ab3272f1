#include "tools/box/attempt.h"

#include "tools/box/bubblewrap.h"
#include "tools/box/callfilter.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
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
    signs = ReadAll(begun.readEnd);
    if (!HasBegun()) {
        complaints = ReadAll(errors.readEnd);
        Await(process);
        Await(filter);
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
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    BoxWords all = words;
    all.seen.push_back(self);
    // The words go through a file, since anybody may read a command line, and variables of the caller's are
    // among them.
    const int file = FileOfWords(Separated(BubblewrapWords(all, hasUsers)));
    const int calls = FileOfWords(RefusedCallBytes());
    Place({{STDERR_FILENO, boxdescriptor::errors},
           {begun.writeEnd, boxdescriptor::begun},
           {log.writeEnd, boxdescriptor::log},
           {file, boxdescriptor::words},
           {info.writeEnd, boxdescriptor::info},
           {calls, boxdescriptor::calls},
           {errors.writeEnd, STDERR_FILENO}});
    std::vector<std::string> command = {bubblewrapPath,
                                        "--args",
                                        std::to_string(boxdescriptor::words),
                                        "--",
                                        self,
                                        "inside",
                                        words.server,
                                        words.log.file,
                                        std::to_string(words.ceilings.threads),
                                        std::to_string(words.ceilings.file)};
    command.insert(command.end(), words.command.begin(), words.command.end());
    Become(command);
}

} // namespace keyreap
