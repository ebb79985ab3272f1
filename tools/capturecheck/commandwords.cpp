#include "tools/capturecheck/commandwords.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>

namespace keyreap {
namespace {

constexpr std::array<std::string_view, 3> modes = {"keyRedir", "trace", "both"};
constexpr std::string_view modeList = "keyRedir, trace or both";

// The mode's own spelling, or empty.
std::string_view ModeOf(std::string_view word) {
    const auto found =
        std::ranges::find_if(modes, [folded = FoldedBytes(std::string(word))](std::string_view mode) {
            return FoldedBytes(std::string(mode)) == folded;
        });
    return found != modes.end() ? *found : std::string_view{};
}

bool LooksLikeFile(std::string_view word) {
    return word.find_first_of("./\\") != std::string_view::npos;
}

void RemarkOnPair(const WordPair& pair, std::vector<Remark>& remarks) {
    if (!ModeOf(pair.output).empty()) {
        remarks.push_back(
            {pair.output, "taken for the file to write for " + pair.input + ", not for a mode"});
    }
    for (const std::string& word : {pair.input, pair.output}) {
        if (word.starts_with('-')) {
            remarks.push_back({word, "taken for a file, since there are no options"});
        }
    }
}

} // namespace

CommandWords::CommandWords(std::span<const std::string> words) {
    if (words.empty()) {
        return;
    }
    verb = words.front();
    words = words.subspan(1);
    if (verb != "extreg") {
        return;
    }
    for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
        pairs.push_back({words[i], words[i + 1]});
    }
    if (words.size() % 2 != 0) {
        lastWord = words.back();
        isModeKnown = !ModeOf(lastWord).empty();
        mode = isModeKnown ? ModeOf(lastWord) : mode;
    }
}

std::vector<Remark> RemarksOn(const CommandWords& words) {
    std::vector<Remark> remarks;
    for (const WordPair& pair : words.Pairs()) {
        RemarkOnPair(pair, remarks);
    }
    if (words.CapturesAnything() && !words.IsModeKnown()) {
        const std::string what = LooksLikeFile(words.LastWord())
                                     ? "left out, since no file to write comes after it, and taken"
                                     : "taken";
        remarks.push_back({words.LastWord(), what + " for a mode, but the modes are " +
                                                 std::string(modeList) + "; the mode is both"});
    }
    return remarks;
}

Remark WhyNothing(const CommandWords& words) {
    if (words.Verb() != "extreg") {
        const bool isCase = FoldedBytes(words.Verb()) == "extreg";
        return {words.Verb(), isCase ? "nothing was done, since the verb is extreg, in small letters"
                                     : "nothing was done, since the only verb is extreg"};
    }
    if (words.LastWord().empty()) {
        return {words.Verb(), "nothing was done, since no files are named"};
    }
    return {words.LastWord(), std::string("nothing was done, since it is ") +
                                  (words.IsModeKnown() ? "a mode and no pair of files is named"
                                                       : "only one file, and each needs a file to write")};
}

} // namespace keyreap
