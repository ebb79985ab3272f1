// Judges the words and files of ./keyreap before and after a run. The results go to the standard output as
// records, each a kind and a text, both ended by a NUL; the script prints the messages. A line to print is
// `say`, and `usage` asks for the usage. The last record is `status`.
//
//   capturecheck prepare WORD...
//       Gives a `word` for each word that Keyreap.exe gets, and for each pair a `state` for the two commands
//       below. `input` and `output` are the paths of its files on this machine. `traces` is yes or no:
//       whether a result comes from a trace. The status is 0, or 125 if the run must not begin; the line
//       before it gives the reason.
//
//   capturecheck progress N STATE... WORD...
//       Writes a line to the standard error that shows the progress of the run, until the parent ends or a
//       signal ends this program.
//
//   capturecheck report plain|terminal N STATE... WORD... STATUS
//       Gives `name`, `path` and `open` for a pair that failed: its word, its Windows path, and the message
//       if no other reason is found. The status is the command's own.
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

constexpr int refusedStatus = 125;

int Number(std::string_view text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void PrintRecord(std::string_view kind, std::string_view text) {
    std::cout << kind << '\0' << text << '\0';
}

struct StatesAndWords {
    std::vector<std::string> states;
    std::vector<std::string> words;
};

// The list begins with the number of states.
StatesAndWords StatesAndWordsOf(std::span<const std::string> list) {
    const auto announced = list.empty() ? 0 : static_cast<std::size_t>(Number(list.front()));
    list = list.subspan(list.empty() ? 0 : 1);
    const auto states = list.first(std::min(announced, list.size()));
    const auto words = list.subspan(states.size());
    return {{states.begin(), states.end()}, {words.begin(), words.end()}};
}

int Prepare(std::span<const std::string> words) {
    const CommandWords command(words);
    const std::vector<PairFiles> pairs = FilesOf(command);
    if (const auto refusal = RefusalOf(pairs)) {
        PrintRecord("say", PrintableName(refusal->name + ": " + refusal->text));
        PrintRecord("status", std::to_string(refusedStatus));
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
    PrintRecord("traces", Traces(command, pairs) ? "yes" : "no");
    PrintRecord("status", "0");
    return 0;
}

volatile std::sig_atomic_t isEnded = 0;

int ShowProgress(const StatesAndWords& given) {
    constexpr timespec pause = {0, 200'000'000}; // nanoseconds
    const pid_t parent = getppid();
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    std::signal(SIGTERM, [](int) { isEnded = 1; });
    // Only once: in a folder with many files it takes long to find names that differ by case.
    const std::vector<PairFiles> files = FilesOf(CommandWords(given.words));
    while (isEnded == 0 && getppid() == parent) {
        const Progress progress = ProgressOf(files, given.states);
        const std::size_t count = given.states.size();
        // In one piece, since the writer may be killed at any moment. The terminal cuts a line that is too
        // long.
        const std::string line =
            "\r\x1b[K\x1b[?7lkeyreap: " + std::to_string(std::min(progress.written + 1, count)) + " of " +
            std::to_string(count) + ": " + PrintableName(progress.current) + "\x1b[?7h";
        std::cerr << line << std::flush;
        nanosleep(&pause, nullptr);
    }
    std::cerr << "\r\x1b[K" << std::flush;
    return 0;
}

int Report(std::span<const std::string> words) {
    if (words.size() < 2) {
        return 2;
    }
    const bool isForPerson = words.front() == "terminal";
    const StatesAndWords given = StatesAndWordsOf(words.subspan(1, words.size() - 2));
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
        return ShowProgress(StatesAndWordsOf(all.subspan(1)));
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
    // The case of letters is folded for all languages.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    return keyreap::Run({argv + 1, argv + argc});
}
