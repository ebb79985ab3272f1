#include "tools/capturecheck/runreport.h"

#include "tools/capturecheck/mappedfile.h"
#include "tools/capturecheck/names.h"
#include "tools/capturecheck/outcome.h"
#include "tools/capturecheck/regcontents.h"

namespace keyreap {
namespace {

constexpr int pairFailed = 255;

std::string Counted(std::size_t number, std::string_view word) {
    return std::to_string(number).append(" ").append(word).append(number == 1 ? "" : "s");
}

std::string StatusText(const CommandWords& words, int programStatus, int status) {
    if (programStatus == 0) {
        return !words.CapturesAnything() ? "nothing was asked for"
               : status == 0             ? "captured"
                                         : "a file is missing";
    }
    return programStatus == pairFailed ? "failed" : "crashed, or was ended; see docs/exit-status.md";
}

// The contents of an output, if it was written.
void ReportOutput(const PairOutcome& pair, const RecordSink& print) {
    const NamedFile& output = pair.files.output;
    const std::string name = PrintableName(output.word) + ": ";
    if (pair.isWritten) {
        const MappedFile mapped(output.host->Path());
        const RegContents contents = ContentsOfBytes(mapped.Bytes());
        print("say", name + Counted(contents.keys, "key") + ", " + Counted(contents.values, "value") + ", " +
                         Counted(mapped.Bytes().size(), "byte"));
    }
}

void ReportRemark(const PairRemark& remark, const RecordSink& print) {
    if (!remark.isOpen) {
        print("say", PrintableName(remark.name) + ": " + remark.text);
        return;
    }
    print("name", PrintableName(remark.name));
    print("path", remark.windowsPath);
    print("open", remark.text);
}

// A file that the session has to reach.
void PrintFile(std::string_view kind, const NamedFile& file, const RecordSink& print) {
    if (file.host) {
        print(kind, file.host->Path());
    }
}

} // namespace

void PrintWords(std::span<const std::string> words, const std::vector<PairFiles>& pairs,
                const RecordSink& print) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool isPath = i >= 1 && i <= 2 * pairs.size();
        const PairFiles* pair = isPath ? &pairs[(i - 1) / 2] : nullptr;
        print("word", !isPath ? words[i] : i % 2 == 1 ? pair->input.windowsPath : pair->output.windowsPath);
    }
    for (const PairFiles& pair : pairs) {
        print("state", StateBefore(pair));
        PrintFile("input", pair.input, print);
        PrintFile("output", pair.output, print);
    }
}

void ReportRun(const CommandWords& words, const std::vector<std::string>& states, int status,
               bool isForPerson, const RecordSink& print) {
    const RunOutcome outcome(words, states, status);
    if (isForPerson) {
        print("say", "status " + std::to_string(outcome.Status()) + ": " +
                         StatusText(words, status, outcome.Status()));
        for (const PairOutcome& pair : outcome.Pairs()) {
            ReportOutput(pair, print);
        }
    }
    for (const PairRemark& remark : outcome.Remarks()) {
        ReportRemark(remark, print);
    }
    if (status == 0 && !words.CapturesAnything()) {
        const Remark why = WhyNothing(words);
        print("say", PrintableName(why.name) + ": " + why.text);
        print("usage", "");
    }
    print("status", std::to_string(outcome.Status()));
}

} // namespace keyreap
