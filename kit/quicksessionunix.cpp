// One session without the scripts. Its files are in memory, in a mount namespace of its own, so that they are
// gone with its last process, however it ends; the box ends its processes.
#include "kit/commandoutput.h"
#include "kit/hostfiles.h"
#include "kit/privateprefix.h"
#include "kit/quicksession.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <system_error>

namespace keyreap {

namespace {

constexpr int notPlain = 1; // of a session in which something happened that has a reason

std::string Variable(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? std::string() : text;
}

std::vector<std::string> SplitAtNuls(std::string_view text) {
    std::vector<std::string> words;
    while (!text.empty()) {
        const std::size_t end = text.find('\0');
        words.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return words;
}

struct Record {
    std::string kind;
    std::string text;
};

// What capturecheck prints.
std::vector<Record> RecordsOf(const std::vector<std::string>& command) {
    const std::vector<std::string> words = SplitAtNuls(OutputOf(command).value_or(std::string()));
    std::vector<Record> records;
    for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
        records.push_back({words[i], words[i + 1]});
    }
    return records;
}

// A capture whose words and files need no sentence before it begins.
struct PlainCapture {
    std::vector<std::string> words;
    std::vector<std::string> places; // words for the box
    std::string state;
    bool traces = false;
};

std::optional<PlainCapture> PlainCaptureOf(const std::vector<Record>& records) {
    PlainCapture plain;
    for (const Record& record : records) {
        if (record.kind == "word") {
            plain.words.push_back(record.text);
        } else if (record.kind == "input" || record.kind == "output") {
            plain.places.insert(plain.places.end(), {"--" + record.kind, record.text});
        } else if (record.kind == "state") {
            plain.state = record.text;
        } else if (record.kind == "traces") {
            plain.traces = record.text == "yes";
        } else if (record.kind != "status" || record.text != "0") {
            return std::nullopt;
        }
    }
    return records.empty() ? std::nullopt : std::optional(plain);
}

int StatusOf(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) == -1 && errno == EINTR) {
    }
    constexpr int signalled = 128;
    return WIFEXITED(status) ? WEXITSTATUS(status) : signalled + WTERMSIG(status);
}

// This process's child ends with it.
pid_t Fork() {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0 && (prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || getppid() != parent)) {
        _exit(notPlain);
    }
    return child;
}

[[noreturn]] void BecomeSilently(const std::vector<std::string>& words) {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(nothing, stream);
    }
    std::vector<char*> pointers;
    for (const std::string& word : words) {
        pointers.push_back(const_cast<char*>(word.c_str()));
    }
    pointers.push_back(nullptr);
    execv(pointers.front(), pointers.data());
    _exit(notPlain);
}

// The request log had a line that isn't known, or wasn't read to its end.
bool IsLogDoubtful(const PrivatePrefix& prefix) {
    return !prefix.Note("unplacedlines").ends_with("\n0\n");
}

// What sessionbox says of a box that was made, and that no ceiling ended.
bool HasWorked(const std::string& report) {
    return report.empty() || report == "ended\n";
}

// In a process of its own, which has the mounts.
int RunSession(const SessionPlaces& places, const PlainCapture& plain) {
    PrivatePrefix prefix(places.wine, places.prefix, places.temporary);
    std::vector<std::string> words = {places.tools + "/sessionbox"};
    for (const auto* more : {&places.box, &plain.places}) {
        words.insert(words.end(), more->begin(), more->end());
    }
    words.emplace_back("--");
    for (const auto* more : {&places.command, &plain.words}) {
        words.insert(words.end(), more->begin(), more->end());
    }
    const pid_t box = Fork();
    if (box == 0) {
        BecomeSilently(words);
    }
    const int status = box == -1 ? notPlain : StatusOf(box);
    const bool isPlain = status == 0 && HasWorked(prefix.Note("box")) && prefix.Note("mixedkeys").empty() &&
                         !(plain.traces && IsLogDoubtful(prefix));
    return isPlain ? 0 : notPlain;
}

// The capture's file can be changed in the box, and so can its mode.
class KeptMode {
public:
    explicit KeptMode(std::string name) : file(std::move(name)), mode(Mode()) {}
    ~KeptMode() {
        std::error_code error;
        if (Mode() != mode) {
            std::filesystem::permissions(file, mode, error);
        }
    }
    KeptMode(const KeptMode&) = delete;
    KeptMode& operator=(const KeptMode&) = delete;

private:
    std::filesystem::perms Mode() const {
        std::error_code error;
        return std::filesystem::status(file, error).permissions();
    }

    const std::string file;
    const std::filesystem::perms mode;
};

bool HasPlainSession(const SessionPlaces& places, const PlainCapture& plain) {
    const pid_t session = Fork();
    if (session == 0) {
        int status = notPlain;
        try {
            status = RunSession(places, plain);
        } catch (const std::system_error&) {
            status = notPlain;
        }
        _exit(status);
    }
    return session != -1 && StatusOf(session) == 0;
}

// Prints the sentences of a report; none if one of them needs an examination.
std::optional<int> StatusOfReport(const std::vector<Record>& records) {
    std::optional<int> status;
    std::string lines;
    for (const Record& record : records) {
        if (record.kind == "say") {
            lines += "keyreap: " + record.text + "\n";
        } else if (record.kind == "status") {
            status = std::atoi(record.text.c_str());
        } else {
            return std::nullopt;
        }
    }
    if (status) {
        std::cerr << lines << std::flush;
    }
    return status;
}

} // namespace

std::optional<SessionPlaces> NamedSessionPlaces() {
    const std::string words = Variable("KEYKIT_CAPTURE_BOX");
    const int file = words.empty() ? -1 : open(words.c_str(), O_RDONLY | O_CLOEXEC);
    if (file == -1) {
        return std::nullopt;
    }
    std::string text;
    std::string piece(4096, '\0');
    for (ssize_t length = 1; length > 0;) {
        length = read(file, piece.data(), piece.size());
        text.append(piece, 0, length > 0 ? static_cast<std::size_t>(length) : 0);
    }
    close(file);
    // The words of the box, two dashes, the command.
    SessionPlaces places = {Variable("KEYKIT_CAPTURE_WINE"),
                            Variable("KEYKIT_CAPTURE_PREFIX"),
                            Variable("KEYKIT_CAPTURE_TOOLS"),
                            {},
                            {},
                            Variable("KEYKIT_CAPTURE_DISK")};
    auto* list = &places.box;
    for (std::string& word : SplitAtNuls(text)) {
        if (word == "--" && list == &places.box) {
            list = &places.command;
        } else {
            list->push_back(std::move(word));
        }
    }
    return places.command.empty() ? std::nullopt : std::optional(places);
}

std::optional<int> CaptureInQuickSession(const SessionPlaces& places, const std::string& server,
                                         const std::string& capture, const std::string& mode) {
    const std::string check = places.tools + "/capturecheck";
    const std::vector<std::string> words = {"extreg", server, capture, mode};
    std::vector<std::string> prepare = {check, "prepare"};
    prepare.insert(prepare.end(), words.begin(), words.end());
    const std::optional<PlainCapture> plain = PlainCaptureOf(RecordsOf(prepare));
    // A box can only change a file that is there.
    if (!plain || (!IsThere(capture) && !WriteWholeFile(capture, {}))) {
        return std::nullopt;
    }
    if (const KeptMode kept(capture); !HasPlainSession(places, *plain)) {
        return std::nullopt;
    }
    std::vector<std::string> report = {check, "report", "plain", "1", plain->state};
    report.insert(report.end(), words.begin(), words.end());
    report.emplace_back("0");
    return StatusOfReport(RecordsOf(report));
}

} // namespace keyreap
