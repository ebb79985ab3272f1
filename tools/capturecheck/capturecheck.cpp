// What ./keyreap knows of its words and files before and after a run. All that it finds goes to the standard
// output as records, each a kind and a text, both ended by a NUL; the script speaks. A line to be said is
// `say`, and `usage` asks for the usage. The last record is `status`.
//
//   capturecheck prepare WORD...
//       Gives a `word` for each word that Keyreap.exe gets, and for each pair a `state` for the two below.
//       The status is 0, or 125 if the run must not begin; the line before it says why.
//
//   capturecheck progress N STATE... WORD...
//       Writes a line to the standard error that shows how far the run is, until the parent ends or it is
//       ended itself.
//
//   capturecheck report plain|terminal N STATE... WORD... STATUS
//       Gives `name`, `path` and `open` for a pair that failed: its word, its Windows path, and what to say
//       if nobody knows more. The status is the command's own.
//
//   capturecheck path WORD
//       Prints the Windows path of the file that the word names.
#include "tools/capturecheck/commandwords.h"
#include "tools/capturecheck/names.h"
#include "tools/capturecheck/outcome.h"
#include "tools/capturecheck/pairfiles.h"
#include "tools/capturecheck/refusal.h"
#include "tools/capturecheck/runreport.h"

#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <clocale>
#include <csignal>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {
namespace {

constexpr int REFUSED = 125;

int Number(std::string_view text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void PrintRecord(std::string_view kind, std::string_view text) {
    std::cout << kind << '\0' << text << '\0';
}

// A list that begins with its length, and what comes after it.
struct StatesAndWords {
    explicit StatesAndWords(std::span<const std::string> all) {
        const auto count = all.empty() ? 0 : static_cast<std::size_t>(Number(all.front()));
        all = all.subspan(all.empty() ? 0 : 1);
        states.assign(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(std::min(count, all.size())));
        words.assign(all.begin() + static_cast<std::ptrdiff_t>(states.size()), all.end());
    }

    std::vector<std::string> states;
    std::vector<std::string> words;
};

int Prepare(std::span<const std::string> words) {
    const CommandWords command(words);
    const std::vector<PairFiles> pairs = FilesOf(command);
    if (const auto refusal = RefusalOf(pairs)) {
        PrintRecord("say", PrintableName(refusal->name + ": " + refusal->text));
        PrintRecord("status", std::to_string(REFUSED));
        return 0;
    }
    const std::vector<Remark> remarks = RemarksOn(command);
    for (const Remark& remark : remarks) {
        PrintRecord("say", PrintableName(remark.name + ": " + remark.text));
    }
    if (!remarks.empty()) {
        PrintRecord("usage", "");
    }
    PrintWords(words, pairs, PrintRecord);
    PrintRecord("status", "0");
    return 0;
}

volatile std::sig_atomic_t isEnded = 0;

int ShowProgress(const StatesAndWords& given) {
    constexpr timespec PAUSE = {0, 200'000'000}; // nanoseconds
    const pid_t parent = getppid();
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    std::signal(SIGTERM, [](int) { isEnded = 1; });
    // Once: in a folder with many files it takes long to find names that differ by case.
    const std::vector<PairFiles> files = FilesOf(CommandWords(given.words));
    while (isEnded == 0 && getppid() == parent) {
        const Progress progress = ProgressOf(files, given.states);
        const std::size_t count = given.states.size();
        // In one piece, since the writer may be killed at any moment. A line too long for the terminal is cut
        // there.
        const std::string line =
            "\r\x1b[K\x1b[?7lkeyreap: " + std::to_string(std::min(progress.written + 1, count)) + " of " +
            std::to_string(count) + ": " + PrintableName(progress.current) + "\x1b[?7h";
        std::cerr << line << std::flush;
        nanosleep(&PAUSE, nullptr);
    }
    std::cerr << "\r\x1b[K" << std::flush;
    return 0;
}

int Report(std::span<const std::string> words) {
    if (words.size() < 2) {
        return 2;
    }
    const bool isForPerson = words.front() == "terminal";
    const StatesAndWords given(words.subspan(1, words.size() - 2));
    ReportRun(CommandWords(given.words), given.states, Number(words.back()), isForPerson, PrintRecord);
    return 0;
}

int Run(const std::vector<std::string>& words) {
    const std::span all(words);
    const std::string verb = words.empty() ? "" : words.front();
    if (verb == "prepare") {
        return Prepare(all.subspan(1));
    }
    if (verb == "progress") {
        return ShowProgress(StatesAndWords(all.subspan(1)));
    }
    if (verb == "report") {
        return Report(all.subspan(1));
    }
    if (verb == "path" && words.size() == 2) {
        std::cout << WindowsPathOf(words[1]);
        return 0;
    }
    std::cerr << "usage: capturecheck prepare|progress|report|path ...\n";
    return 2;
}

} // namespace
} // namespace keyreap

int main(int argc, char** argv) {
    // The case of letters is that of all languages.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    return keyreap::Run({argv + 1, argv + argc});
}
