#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

struct WordPair {
    std::string input;
    std::string output;
};

// The words of the command line as the program understands them.
struct CommandWords {
    explicit CommandWords(std::span<const std::string> words);

    bool CapturesAnything() const { return !pairs.empty(); }

    std::string verb;
    std::vector<WordPair> pairs;
    std::string mode = "both"; // as the table of modes spells it
    std::string lastWord;      // the word of an odd number, or empty
    bool isModeKnown = true;   // false if `lastWord` is none
};

struct Remark {
    std::string name; // the word, or empty
    std::string text;
};

// What was understood otherwise than it may have been meant, although the program takes it.
std::vector<Remark> RemarksOn(const CommandWords& words);

// Why nothing is captured, of words without a pair.
Remark WhyNothing(const CommandWords& words);

} // namespace keyreap
