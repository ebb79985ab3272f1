// requestfilter FILE [REPORT [UNPLACED]]: reads the request log of Wine's server and writes what the trace
// needs of it to FILE. The server would end if the filter ended, and wait while the filter waits, so the
// filter reads on whatever becomes of FILE. At the end of the input it writes the keys that the host mixed up
// to REPORT, a line each, if there are any, and to UNPLACED the first line that no known server writes, with
// the number of such lines in a second line. Exits with 0, or with 2 if the arguments are others.
#include "hostlogger/filter/keptfile.h"
#include "hostlogger/filter/keptlines.h"
#include "hostlogger/filter/mixedreport.h"
#include "hostlogger/requestwords.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

// As much as a pipe may hold without privileges.
constexpr int pieceSize = 1 << 20;

void IgnoreSignals() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXFSZ}) {
        std::signal(number, SIG_IGN);
    }
}

// The next piece of the input: 0 bytes at its end.
std::size_t ReadPiece(std::vector<char>& piece) {
    ssize_t length = 0;
    do {
        length = read(STDIN_FILENO, piece.data(), piece.size());
    } while (length < 0 && errno == EINTR);
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

// The server writes each request in many small pieces. To wake for each of them would take processor time
// from the programs that are traced.
void LetPiecesGather() {
    constexpr timespec pause = {0, 1'000'000}; // nanoseconds
    nanosleep(&pause, nullptr);
}

// By the clock and in the unit of Wine's performance counter.
std::int64_t Now() {
    constexpr std::int64_t ticksPerSecond = 10'000'000;
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_RAW, &now);
    return now.tv_sec * ticksPerSecond + now.tv_nsec * ticksPerSecond / 1'000'000'000;
}

// The time at which the lines after it were read. There is one at most every millisecond.
class ClockLine {
public:
    std::string Next() {
        constexpr std::int64_t step = 10'000; // a millisecond
        const std::int64_t now = Now();
        if (now - written < step) {
            return {};
        }
        written = now;
        return std::string(keyreap::requestword::clock) + std::to_string(now) + '\n';
    }

private:
    std::int64_t written = 0;
};

void Filter(keyreap::KeptFile& file, keyreap::KeptLines& requests) {
    std::vector<char> piece(pieceSize);
    std::string kept;
    ClockLine clock;
    while (const std::size_t length = ReadPiece(piece)) {
        requests.Take({piece.data(), length}, kept);
        if (!kept.empty()) {
            file.Write(clock.Next() + kept);
        }
        kept.clear();
        if (length < piece.size()) {
            LetPiecesGather();
        }
    }
}

// Always writes the file: without it the reader knows that this program did not reach the end of the log.
void WriteUnplaced(const keyreap::UnplacedLines& lines, const char* path) {
    std::ofstream(path, std::ios::binary) << lines.First() << '\n' << lines.Count() << '\n';
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 4) {
        std::cerr << "usage: requestfilter FILE [REPORT [UNPLACED]]\n";
        return 2;
    }
    IgnoreSignals();
    fcntl(STDIN_FILENO, F_SETPIPE_SZ, pieceSize);
    keyreap::KeptFile file(argv[1]);
    keyreap::KeptLines requests;
    Filter(file, requests);
    if (argc >= 3) {
        keyreap::WriteNames(keyreap::FindMixedKeys(file), argv[2]);
    }
    if (argc == 4) {
        WriteUnplaced(requests.Unplaced(), argv[3]);
    }
}
