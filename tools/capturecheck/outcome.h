#pragma once

#include "tools/capturecheck/commandwords.h"
#include "tools/capturecheck/pairfiles.h"

#include <cstddef>
#include <string>
#include <vector>

namespace keyreap {

// What is known of a pair before the run, as one word: which of the two programs captures it, and the stamp
// of its output.
std::string StateBefore(const PairFiles& pair);

// What a run made of a pair.
enum class PairResult { captured, failed, skipped, unknown };

// A pair after the run.
struct PairOutcome {
    PairFiles files;
    bool isNative = false;
    bool isWritten = false; // by this run
    PairResult result = PairResult::captured;
};

// Something to be said of a pair. `isOpen` says that only a look at the running system could say more than
// `text`.
struct PairRemark {
    std::string name;
    std::string text;
    bool isOpen = false;
    std::string windowsPath;
};

// A run of the program over the pairs of its command line, looked at when it has ended: which files it wrote,
// and, since the program itself says nothing but a status, which pair that status is about.
class RunOutcome {
public:
    // `states` has the words of StateBefore, pair by pair.
    RunOutcome(const CommandWords& commandWords, const std::vector<std::string>& states, int programStatus);

    // The program's, or 125 if it says 0 of a file that the run didn't write.
    int Status() const { return status; }
    const std::vector<PairOutcome>& Pairs() const { return pairs; }

    // What has to be said of the pairs whoever reads it, in the order of the command line.
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

// How many of the pairs are written, and the input whose turn it is, or was last: of a run that goes on.
struct Progress {
    std::size_t written = 0;
    std::string current;
};

Progress ProgressOf(const std::vector<PairFiles>& pairs, const std::vector<std::string>& states);

} // namespace keyreap
