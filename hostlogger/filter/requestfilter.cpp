// requestfilter FILE [REPORT]: reads the request log of Wine's server and writes what the trace needs of it
// to FILE. Its end would be the server's end, and its waiting the server's waiting, so it reads on whatever
// becomes of FILE. At the end of the input it writes the keys that the host mixed up to REPORT, a line each,
// if there are any, and ends with 0. It ends with 2 if it was called otherwise.
#include "hostlogger/filter/keptfile.h"
#include "hostlogger/filter/mixedreport.h"
#include "hostlogger/filter/requestlines.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <iostream>
#include <string>
#include <vector>

namespace {

// As much as a pipe may hold without privileges.
constexpr int PIECE_SIZE = 1 << 20;

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

// The server writes each request in many small pieces. Who wakes for all of them takes the core from those
// that work.
void LetPiecesGather() {
    constexpr timespec PAUSE = {0, 1'000'000}; // nanoseconds
    nanosleep(&PAUSE, nullptr);
}

// By the clock and in the unit of Wine's performance counter.
std::int64_t Now() {
    constexpr std::int64_t TICKS_A_SECOND = 10'000'000;
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_RAW, &now);
    return now.tv_sec * TICKS_A_SECOND + now.tv_nsec * TICKS_A_SECOND / 1'000'000'000;
}

// Tells when the lines behind it were read, but not for every few lines anew.
class ClockLine {
public:
    std::string Next() {
        constexpr std::int64_t STEP = 10'000; // a millisecond
        const std::int64_t now = Now();
        if (now - told < STEP) {
            return {};
        }
        told = now;
        return "time " + std::to_string(now) + '\n';
    }

private:
    std::int64_t told = 0;
};

void Filter(keyreap::KeptFile& file) {
    keyreap::RequestLines requests;
    std::vector<char> piece(PIECE_SIZE);
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

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: requestfilter FILE [REPORT]\n";
        return 2;
    }
    IgnoreSignals();
    fcntl(STDIN_FILENO, F_SETPIPE_SZ, PIECE_SIZE);
    keyreap::KeptFile file(argv[1]);
    Filter(file);
    if (argc == 3) {
        keyreap::WriteNames(keyreap::FindMixedKeys(file), argv[2]);
    }
}
