#include "tools/capturecheck/refusal.h"

#include "tools/capturecheck/names.h"
#include "tools/capturecheck/windowspath.h"

#include <algorithm>
#include <string>
#include <utility>

namespace keyreap {
namespace {

// Why a file is unfit both as input and as output; empty if there is no reason.
std::string FaultOf(const NamedFile& file) {
    if (file.isLost) {
        return "is counted from the current folder, which was removed or has a backslash in its path";
    }
    std::string fault = NameFault(file.windowsPath);
    if (!fault.empty() || !file.host) {
        return fault;
    }
    if (file.host->IsDescriptor()) {
        return "leads into the caller's own process, which no Windows program can follow";
    }
    if (file.host->IsThere() && !file.host->IsOrdinary() && !file.host->IsFolder()) {
        return "is a device or a pipe and no file";
    }
    // A Windows path may spell folders in any case, a path of this machine may not.
    if (file.host->IsRespelled() && !IsWindowsPath(file.word)) {
        return "isn't there, but Windows would take " + file.host->Path() + "; did you mean that?";
    }
    return "";
}

std::string InputFault(const PairFiles& pair) {
    if (pair.facts.kind == InputKind::unixProgram) {
        return "is a program or script of this machine, not of Windows";
    }
    return FaultOf(pair.input);
}

std::string OutputFault(const NamedFile& output) {
    if (output.host && output.host->IsNameRespelled()) {
        return "differs only by case from " + output.host->Path() + ", which Windows would write over";
    }
    std::string fault = FaultOf(output);
    if (!fault.empty() || !output.host) {
        return fault;
    }
    if (BeginsAsInput(*output.host)) {
        return "is to be written, but is a program or library; was a word left out?";
    }
    return "";
}

using Word = std::pair<std::string, FileIdentity>;

// The files of all inputs, or of all outputs, as far as they can be identified.
template <typename Member>
std::vector<Word> IdentitiesOf(const std::vector<PairFiles>& pairs, Member member) {
    std::vector<Word> identities;
    for (const PairFiles& pair : pairs) {
        const NamedFile& file = pair.*member;
        const auto identity = file.host ? file.host->Identity() : std::nullopt;
        if (identity) {
            identities.emplace_back(file.word, *identity);
        }
    }
    return identities;
}

const Word* Find(const std::vector<Word>& words, const FileIdentity& identity) {
    for (const Word& word : words) {
        if (word.second == identity) {
            return &word;
        }
    }
    return nullptr;
}

std::optional<Remark> SharedOutput(const std::vector<PairFiles>& pairs) {
    const std::vector<Word> inputs = IdentitiesOf(pairs, &PairFiles::input);
    const std::vector<Word> outputs = IdentitiesOf(pairs, &PairFiles::output);
    for (const auto& [word, identity] : outputs) {
        if (const Word* input = Find(inputs, identity)) {
            return Remark{word, "is to be written, but is the input " + input->first};
        }
    }
    for (const Word& output : outputs) {
        const Word* first = Find(outputs, output.second);
        if (first != &output) {
            return Remark{output.first,
                          "is to be written for two inputs (its first name is " + first->first + ")"};
        }
    }
    return std::nullopt;
}

// Outputs on no drive of this machine are compared by their spelling, except for case.
std::optional<Remark> RepeatedWord(const std::vector<PairFiles>& pairs) {
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const NamedFile& output = pairs[i].output;
            if (!output.host && !output.word.empty() &&
                FoldedName(output.windowsPath) == FoldedName(pairs[j].output.windowsPath)) {
                return Remark{output.word, "is to be written for two inputs"};
            }
        }
    }
    return std::nullopt;
}

// The characters of a path in a command line, with quotes, a blank, and the prefix that the program gives a
// long path.
std::size_t RoomFor(const std::string& windowsPath) {
    constexpr std::size_t quotesBlankAndPrefix = 7;
    const std::u32string points = CodePoints(windowsPath).value_or(std::u32string());
    const auto pairedUnits = std::ranges::count_if(points, [](char32_t point) { return point > 0xFFFF; });
    return points.size() + static_cast<std::size_t>(pairedUnits) + quotesBlankAndPrefix;
}

// All pairs go to the program in one command line, and from there the pairs that it can't capture itself go
// to its companion. Wine ends a program with a longer line without a message.
std::optional<Remark> CommandLineFault(const std::vector<PairFiles>& pairs) {
    constexpr std::size_t longestLine = 32766;
    constexpr std::size_t programAndMode = 1024;
    std::size_t length = programAndMode;
    for (const PairFiles& pair : pairs) {
        length += RoomFor(pair.input.windowsPath) + RoomFor(pair.output.windowsPath);
        if (length > longestLine) {
            return Remark{pair.input.word,
                          "does not fit into the command line with the files before it, since "
                          "Windows has 32767 characters for all; name fewer in one run"};
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<Remark> RefusalOf(const std::vector<PairFiles>& pairs) {
    if (std::optional<Remark> fault = CommandLineFault(pairs)) {
        return fault;
    }
    // Comes before the check of each output, because "is an input" says more than "is a program".
    if (std::optional<Remark> shared = SharedOutput(pairs)) {
        return shared;
    }
    for (const PairFiles& pair : pairs) {
        if (std::string fault = InputFault(pair); !fault.empty()) {
            return Remark{pair.input.word, std::move(fault)};
        }
        if (std::string fault = OutputFault(pair.output); !fault.empty()) {
            return Remark{pair.output.word, std::move(fault)};
        }
    }
    return RepeatedWord(pairs);
}

} // namespace keyreap
