#pragma once

#include "tools/capturecheck/commandwords.h"
#include "tools/capturecheck/pairfiles.h"

#include <cstddef>
#include <string>
#include <vector>

namespace keyreap {

// The state of a pair before the run, as one word: which of the two programs captures it, and the stamp of
// its output.
std::string StateBefore(const PairFiles& pair);

// The result of a run for a pair.
enum class PairResult { captured, failed, skipped, unknown };

// A pair after the run.
struct PairOutcome {
    PairFiles files;
    bool isNative = false;
    bool isWritten = false; // by this run
    PairResult result = PairResult::captured;
};

// A remark about a pair. `isOpen` means that only an examination of the running system could find more than
// `text`.
struct PairRemark {
    std::string name;
    std::string text;
    bool isOpen = false;
    std::string windowsPath;
};

// A run of the program over the pairs of its command line, examined after its end. It shows which files the
// run wrote and, since the program itself reports only a status, which pair that status is about.
class RunOutcome {
public:
    // `states` contains the words of StateBefore, pair by pair.
    RunOutcome(const CommandWords& words, const std::vector<std::string>& states, int programStatus);

    // The program's status, or 125 if it is 0 although the run didn't write a file.
    int Status() const { return status; }
    const std::vector<PairOutcome>& Pairs() const { return pairs; }

    // The remarks for every reader, in the order of the command line.
    std::vector<PairRemark> Remarks() const;

private:
    void FindFailedPair();
    std::vector<std::size_t> Order() const;
    PairRemark RemarkOnFailed(const PairOutcome& pair) const;
    void RemarkOnCaptured(const PairOutcome& pair, std::vector<PairRemark>& remarks) const;

    CommandWords words;
    std::vector<PairOutcome> pairs;
    int status;
    bool endedWithZero;
    std::string failedName;
};

// For a run in progress: the number of written pairs, and the input that is being captured, or was captured
// last.
struct Progress {
    std::size_t written = 0;
    std::string current;
};

Progress ProgressOf(const std::vector<PairFiles>& pairs, const std::vector<std::string>& states);

} // namespace keyreap
