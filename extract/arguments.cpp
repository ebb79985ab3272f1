#include "extract/arguments.h"

#include "extract/modeword.h"

namespace keyreap {

std::vector<FilePair> ParsePairs(std::span<const wchar_t* const> words) {
    std::vector<FilePair> pairs;
    for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
        pairs.push_back({WidePath(words[i]), WidePath(words[i + 1])});
    }
    return pairs;
}

CaptureMode ParseMode(std::span<const wchar_t* const> words) {
    return words.size() % 2 == 1 ? ParseModeWord(words.back()) : CaptureMode::both;
}

} // namespace keyreap
