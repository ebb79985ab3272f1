// observer LOG COMMAND...: runs a command of a Wine session and ends with its status. The command's standard
// error goes to this program's own, without Wine's debug output about exceptions and modules, which is read.
// If a crash explains the command's status, LOG gets one line that says what it was; otherwise LOG is empty.
#include "tools/observer/debuglines.h"
#include "tools/observer/modulesize.h"
#include "tools/observer/splitter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string_view>

namespace {

constexpr int notFound = 127, notStarted = 126;
constexpr std::size_t pieceSize = 1 << 16;

int endedPipe[2];

void ReportEnd(int) {
    const int error = errno;
    static_cast<void>(!write(endedPipe[1], "", 1));
    errno = error;
}

void WriteAll(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(STDERR_FILENO, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return;
        }
        bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

[[noreturn]] void BecomeCommand(int errorEnd, char** command) {
    std::signal(SIGPIPE, SIG_DFL);
    setenv("WINEDEBUG", keyreap::observedChannels, 1);
    dup2(errorEnd, STDERR_FILENO);
    execvp(command[0], command);
    _exit(errno == ENOENT ? notFound : notStarted);
}

// Reads until the command has ended and everything that was written by then is read: processes that the
// command started may hold the stream open for longer.
class ErrorStream {
public:
    ErrorStream(int readEnd, keyreap::DebugLines& lines)
        : ends{{{readEnd, POLLIN, 0}, {endedPipe[0], POLLIN, 0}}},
          splitter([&lines](std::string_view line) { lines.Take(line); }) {}

    void ReadToEnd() {
        while (true) {
            if (poll(ends.data(), ends.size(), -1) < 0) {
                continue;
            }
            const bool hasEnded = ends[1].revents != 0;
            while (ReadPiece()) {
            }
            if (hasEnded) {
                return;
            }
        }
    }

private:
    bool ReadPiece() {
        const ssize_t length = ends[0].fd < 0 ? 0 : read(ends[0].fd, piece.data(), piece.size());
        if (length == 0) {
            ends[0].fd = -1; // the other end is closed
        }
        if (length <= 0) {
            return length < 0 && errno == EINTR;
        }
        const auto size = static_cast<std::size_t>(length);
        // Wine writes whole lines, so only a read that fills the buffer may have cut one.
        WriteAll(splitter.Split({piece.data(), size}, size == piece.size()));
        return true;
    }

    std::array<pollfd, 2> ends;
    keyreap::DebugSplitter splitter;
    std::array<char, pieceSize> piece{};
};

int StatusOf(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void WriteLog(const char* path, const keyreap::DebugLines& lines, int status) {
    const char* prefix = std::getenv("WINEPREFIX");
    const std::string text = keyreap::CrashText(lines, status, [prefix](const keyreap::LoadedModule& module) {
        return prefix ? keyreap::SizeInFile(prefix, module) : 0;
    });
    std::ofstream log(path, std::ios::binary);
    if (!text.empty()) {
        log << text << '\n';
    }
}

} // namespace

int main(int count, char** words) {
    int errorPipe[2];
    if (count < 3 || pipe2(errorPipe, O_CLOEXEC) != 0 || pipe2(endedPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return notStarted;
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGCHLD, ReportEnd);
    const pid_t child = fork();
    if (child < 0) {
        return notStarted;
    }
    if (child == 0) {
        BecomeCommand(errorPipe[1], words + 2);
    }
    close(errorPipe[1]);
    fcntl(errorPipe[0], F_SETFL, O_NONBLOCK);
    keyreap::DebugLines lines;
    ErrorStream(errorPipe[0], lines).ReadToEnd();
    const int status = StatusOf(child);
    WriteLog(words[1], lines, status);
    return status;
}
