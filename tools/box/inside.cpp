#include "tools/box/inside.h"

#include "tools/box/descriptors.h"

#include <fcntl.h>
#include <sys/personality.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace keyreap {
namespace {

constexpr int notStarted = 126;
constexpr int notFound = 127;
constexpr int signalled = 128;
constexpr int serverFailed = 125;
constexpr int longestStart = 5000; // looks at the log, two milliseconds apart

// The words before the command.
struct InsideWords {
    const char* prefix; // by which the keeper of the session knows this process
    const char* server;
    const char* log; // empty if there is none
    const char* threads;
    const char* fileSize;
};
constexpr std::size_t wordsBeforeCommand = 5;

void SetLimit(__rlimit_resource resource, const char* text) {
    if (const rlim_t value = std::strtoull(text, nullptr, 10); value != 0) {
        const rlimit limit = {value, value};
        setrlimit(resource, &limit);
    }
}

void WaitShortly() {
    const timespec time = {0, 2'000'000};
    nanosleep(&time, nullptr);
}

int StatusOf(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) == -1 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : signalled + WTERMSIG(status);
}

void Silence(int descriptor) {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(nothing, descriptor);
}

// The server that logs stays in the foreground; the other one leaves it when programs can reach it.
pid_t StartServer(const InsideWords& words) {
    const bool logs = *words.log != '\0';
    const pid_t child = fork();
    if (child != 0) {
        return child;
    }
    Silence(STDIN_FILENO);
    Silence(STDOUT_FILENO);
    if (logs) {
        dup2(boxdescriptor::log, STDERR_FILENO);
        execl(words.server, words.server, "-f", "-d2", "-p", nullptr);
    } else {
        Silence(STDERR_FILENO);
        execl(words.server, words.server, "-p", nullptr);
    }
    _exit(notFound);
}

// The log begins with the server's line that it is up.
bool AwaitLog(const char* file, pid_t server) {
    struct stat status = {};
    for (int round = 0; round < longestStart; round++) {
        if (stat(file, &status) == 0) {
            return true;
        }
        if (waitpid(server, nullptr, WNOHANG) != 0) {
            return false;
        }
        WaitShortly();
    }
    return false;
}

bool AwaitServer(const InsideWords& words, pid_t server) {
    return *words.log == '\0' ? StatusOf(server) == 0 : AwaitLog(words.log, server);
}

[[noreturn]] void BecomeCommand(char* const* command) {
    // At random addresses the memory of a program sometimes covers a page that Wine needs (0x7FFE0000).
    personality(ADDR_NO_RANDOMIZE);
    execvp(command[0], command);
    _exit(errno == ENOENT ? notFound : notStarted);
}

} // namespace

int RunInside(std::span<char* const> words) {
    if (words.size() <= wordsBeforeCommand) {
        return notStarted;
    }
    const InsideWords own = {words[0], words[1], words[2], words[3], words[4]};
    dup2(boxdescriptor::errors, STDERR_FILENO);
    static_cast<void>(!write(boxdescriptor::begun, "", 1));
    KeepFromOthers(STDERR_FILENO + 1);
    SetLimit(RLIMIT_NPROC, own.threads);
    SetLimit(RLIMIT_FSIZE, own.fileSize);
    const pid_t server = StartServer(own);
    close(boxdescriptor::log);
    if (server == -1 || !AwaitServer(own, server)) {
        return serverFailed;
    }
    static_cast<void>(!write(boxdescriptor::begun, "", 1));
    close(boxdescriptor::begun);
    const pid_t command = fork();
    if (command == 0) {
        // The caller's words end with a null pointer, as those of every program do.
        BecomeCommand(words.data() + wordsBeforeCommand);
    }
    return command == -1 ? notStarted : StatusOf(command);
}

} // namespace keyreap
