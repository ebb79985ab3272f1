#include "tools/capturecheck/outcome.h"

#include "tools/capturecheck/mappedfile.h"
#include "tools/capturecheck/names.h"
#include "tools/capturecheck/reasons.h"
#include "tools/capturecheck/regcontents.h"

#include <algorithm>
#include <ranges>

namespace keyreap {
namespace {

constexpr int commandFailed = 125;
constexpr int pairFailed = 255;
constexpr std::string_view nativeMark = "native ";
constexpr std::string_view companionMark = "companion ";

bool IsNative(std::string_view state) {
    return state.starts_with(nativeMark);
}

// Examines the file again each time.
bool IsChangedSince(const PairFiles& pair, std::string_view state) {
    return pair.output.host && FileStamp(pair.output.host->Path()) != state.substr(state.find(' ') + 1);
}

// While a run is going on, an output that wasn't there may be an empty file, which the program hasn't
// written.
bool IsBegunSince(const PairFiles& pair, std::string_view state) {
    return IsChangedSince(pair, state) && !IsEmptyFile(pair.output.host->Path());
}

bool IsWrittenSince(const PairFiles& pair, std::string_view state) {
    return IsChangedSince(pair, state) && pair.output.host->IsOrdinary();
}

RegContents ContentsOf(const HostFile& file) {
    const MappedFile mapped(file.Path());
    return ContentsOfBytes(mapped.Bytes());
}

// The mode that may show more than the one that was used.
std::string ModeToTry(const PairFiles& pair, const std::string& mode) {
    const bool isServer = pair.facts.kind == InputKind::image && pair.facts.exportsRegistration;
    const bool isProgram = pair.input.host && !isServer && pair.facts.kind != InputKind::typeLibrary;
    if (isProgram) {
        return "no other mode shows more of a program";
    }
    return mode == "keyRedir" ? "try the mode trace" : "try the mode keyRedir";
}

std::string Counted(std::size_t number, const std::string& word) {
    return std::to_string(number) + ' ' + word + (number == 1 ? "" : "s");
}

// The signs that a captured file isn't what its server registered.
std::vector<std::string> SignsIn(const RegContents& contents) {
    std::vector<std::string> signs;
    if (contents.hasKeyWithoutRoot) {
        signs.emplace_back("has keys of an account whose registry a trace doesn't know");
    }
    if (contents.fillers > 0) {
        signs.push_back("has fillers (ten characters U+5555) for " + Counted(contents.fillers, "value") +
                        " that could not be read again");
    }
    if (contents.namesTemporaryTree) {
        signs.emplace_back("names the temporary tree of the capture");
    }
    if (contents.values == 0) {
        signs.emplace_back("is empty: no value was captured");
    }
    return signs;
}

// Why a captured file looks as if it weren't captured; empty if nothing does.
std::string FaultOf(const RegContents& contents, const PairFiles& pair, const std::string& mode) {
    std::string signs;
    for (const std::string& sign : SignsIn(contents)) {
        signs += (signs.empty() ? " " : "; it ") + sign;
    }
    return signs.empty() ? "" : PrintableName(pair.output.word) + signs + "; " + ModeToTry(pair, mode);
}

// The indices of the pairs, in the order in which the program captures them.
template <typename IsNativeAt>
std::vector<std::size_t> OrderOf(std::size_t count, IsNativeAt isNativeAt) {
    std::vector<std::size_t> order;
    for (const bool native : {true, false}) {
        for (std::size_t i = 0; i < count; ++i) {
            if (isNativeAt(i) == native) {
                order.push_back(i);
            }
        }
    }
    return order;
}

} // namespace

std::string StateBefore(const PairFiles& pair) {
    return std::string(pair.facts.Is64Bit() ? nativeMark : companionMark) +
           (pair.output.host ? FileStamp(pair.output.host->Path()) : "-");
}

RunOutcome::RunOutcome(const CommandWords& words, const std::vector<std::string>& states, int programStatus)
    : words(words), status(programStatus), endedWithZero(programStatus == 0) {
    std::vector<PairFiles> files = FilesOf(words);
    for (std::size_t i = 0; i < files.size() && i < states.size(); ++i) {
        const bool isWritten = IsWrittenSince(files[i], states[i]);
        pairs.push_back({files[i], IsNative(states[i]), isWritten,
                         isWritten || files[i].output.host ? PairResult::captured : PairResult::unknown});
    }
    FindFailedPair();
}

std::vector<std::size_t> RunOutcome::Order() const {
    return OrderOf(pairs.size(), [this](std::size_t i) { return pairs[i].isNative; });
}

void RunOutcome::FindFailedPair() {
    const std::vector<std::size_t> order = Order();
    const auto isUnwritten = [this](std::size_t i) {
        return !pairs[i].isWritten && pairs[i].files.output.host;
    };
    auto failed = std::ranges::find_if(order, isUnwritten);
    if (endedWithZero && failed == order.end()) {
        return;
    }
    // The program stops writing a file at the failure, so the file isn't whole. A file on a drive of the run
    // can't be examined.
    const auto mayHaveFailed = [this](std::size_t i) {
        const PairFiles& files = pairs[i].files;
        return pairs[i].isWritten ? !ContentsOf(*files.output.host).isWhole
                                  : !files.output.host && !ReasonInFiles(files).empty();
    };
    const auto earlier = std::find_if(order.begin(), failed, mayHaveFailed);
    if (earlier != failed) {
        failed = earlier;
    } else if (failed == order.end() && !order.empty()) {
        failed = std::prev(order.end());
    }
    for (auto at = failed; at != order.end(); ++at) {
        pairs[*at].result = at == failed ? PairResult::failed : PairResult::skipped;
    }
    if (failed != order.end()) {
        failedName = PrintableName(words.Pairs()[*failed].input);
        status = endedWithZero ? commandFailed : status;
    }
}

PairRemark RunOutcome::RemarkOnFailed(const PairOutcome& pair) const {
    PairRemark remark{pair.files.input.word, "", false, pair.files.input.windowsPath};
    if (endedWithZero) {
        remark.text = PrintableName(pair.files.output.word) +
                      " was not written, although the program ended with 0: the server ended its process";
        return remark;
    }
    if (status != pairFailed) {
        remark.isOpen = true;
        remark.text = "the run crashed or was ended, with status " + std::to_string(status);
        return remark;
    }
    remark.text = ReasonInFiles(pair.files);
    if (remark.text.empty()) {
        remark.isOpen = true;
        remark.text = pair.isWritten && ContentsOf(*pair.files.output.host).isWhole
                          ? "the run failed after " + PrintableName(pair.files.output.word) + " was written"
                          : GeneralReason(pair.files);
    }
    return remark;
}

void RunOutcome::RemarkOnCaptured(const PairOutcome& pair, std::vector<PairRemark>& remarks) const {
    if (!pair.isWritten) {
        return;
    }
    std::string fault = FaultOf(ContentsOf(*pair.files.output.host), pair.files, words.Mode());
    if (!fault.empty()) {
        remarks.push_back({pair.files.input.word, std::move(fault), false, ""});
    }
}

std::vector<PairRemark> RunOutcome::Remarks() const {
    std::vector<PairRemark> remarks;
    for (const PairOutcome& pair : pairs) {
        switch (pair.result) {
        case PairResult::failed:
            remarks.push_back(RemarkOnFailed(pair));
            break;
        case PairResult::skipped:
            remarks.push_back({pair.files.input.word, "skipped, since " + failedName + " failed", false, ""});
            break;
        case PairResult::captured:
            RemarkOnCaptured(pair, remarks);
            break;
        case PairResult::unknown:
            remarks.push_back({pair.files.input.word,
                               PrintableName(pair.files.output.word) +
                                   " went with the run's own drive; name a file of this machine",
                               false, ""});
            break;
        }
    }
    return remarks;
}

Progress ProgressOf(const std::vector<PairFiles>& pairs, const std::vector<std::string>& states) {
    Progress progress;
    for (const std::size_t i : OrderOf(pairs.size(), [&](std::size_t at) { return IsNative(states[at]); })) {
        if (!IsBegunSince(pairs[i], states[i])) {
            progress.current = pairs[i].input.word;
            break;
        }
        ++progress.written;
        progress.current = pairs[i].input.word;
    }
    return progress;
}

} // namespace keyreap
