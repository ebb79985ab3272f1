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
class CommandWords {
public:
    explicit CommandWords(std::span<const std::string> words);

    const std::string& Verb() const { return verb; }
    const std::vector<WordPair>& Pairs() const { return pairs; }
    bool CapturesAnything() const { return !pairs.empty(); }

    // As the table of modes spells it.
    const std::string& Mode() const { return mode; }

    // The word after the last pair, or empty.
    const std::string& LastWord() const { return lastWord; }

    // False if the last word is not a mode.
    bool IsModeKnown() const { return isModeKnown; }

private:
    std::string verb;
    std::vector<WordPair> pairs;
    std::string mode = "both";
    std::string lastWord;
    bool isModeKnown = true;
};

struct Remark {
    std::string name; // the word, or empty
    std::string text;
};

// Words that the program accepts, but may understand differently than they were meant.
std::vector<Remark> RemarksOn(const CommandWords& words);

// Why words without a pair capture nothing.
Remark WhyNothing(const CommandWords& words);

} // namespace keyreap
