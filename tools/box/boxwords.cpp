#include "tools/box/boxwords.h"

#include <charconv>
#include <functional>
#include <map>
#include <stdexcept>
#include <string_view>

namespace keyreap {
namespace {

// Takes the words of a command line one by one.
class WordReader {
public:
    explicit WordReader(std::span<char* const> words) : words(words) {}

    bool HasMore() const { return !words.empty(); }

    std::string Next() {
        if (words.empty()) {
            throw std::invalid_argument("a word is missing at the end");
        }
        std::string word = words.front();
        words = words.subspan(1);
        return word;
    }

    std::uint64_t NextNumber() {
        const std::string word = Next();
        std::uint64_t number = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (error != std::errc{} || end != word.data() + word.size()) {
            throw std::invalid_argument(word + " is no number");
        }
        return number;
    }

private:
    std::span<char* const> words;
};

using Take = std::function<void(BoxWords&, WordReader&)>;

Take Into(std::string BoxWords::*text) {
    return [text](BoxWords& words, WordReader& reader) { words.*text = reader.Next(); };
}

Take Into(std::vector<std::string> BoxWords::*list) {
    return [list](BoxWords& words, WordReader& reader) { (words.*list).push_back(reader.Next()); };
}

Take Into(std::uint64_t Ceilings::*ceiling) {
    return [ceiling](BoxWords& words, WordReader& reader) { words.ceilings.*ceiling = reader.NextNumber(); };
}

void TakePlaced(BoxWords& words, WordReader& reader) {
    std::string file = reader.Next();
    words.placed.emplace_back(std::move(file), reader.Next());
}

void TakeLog(BoxWords& words, WordReader& reader) {
    words.log.filter = reader.Next();
    words.log.file = reader.Next();
    words.log.mixedKeys = reader.Next();
    words.log.unplacedLines = reader.Next();
}

const std::map<std::string_view, Take>& Options() {
    static const std::map<std::string_view, Take> options = {
        {"--report", Into(&BoxWords::report)},
        {"--prefix", Into(&BoxWords::prefix)},
        {"--hide", Into(&BoxWords::hidden)},
        {"--server", Into(&BoxWords::server)},
        {"--input", Into(&BoxWords::inputs)},
        {"--output", Into(&BoxWords::outputs)},
        {"--see", Into(&BoxWords::seen)},
        {"--write", Into(&BoxWords::changed)},
        {"--place", TakePlaced},
        {"--set", Into(&BoxWords::variables)},
        {"--env", Into(&BoxWords::passed)},
        {"--display", [](BoxWords& words, WordReader&) { words.hasDisplay = true; }},
        {"--log", TakeLog},
        {"--memory", Into(&Ceilings::memory)},
        {"--file-size", Into(&Ceilings::file)},
        {"--temporary", Into(&Ceilings::temporary)},
        {"--threads", Into(&Ceilings::threads)},
    };
    return options;
}

} // namespace

BoxWords ParsedBoxWords(std::span<char* const> words) {
    BoxWords result;
    WordReader reader(words);
    for (std::string word = reader.Next(); word != "--"; word = reader.Next()) {
        const auto option = Options().find(word);
        if (option == Options().end()) {
            throw std::invalid_argument("unknown option " + word);
        }
        option->second(result, reader);
    }
    while (reader.HasMore()) {
        result.command.push_back(reader.Next());
    }
    if (result.command.empty() || result.report.empty() || result.prefix.empty() || result.server.empty()) {
        throw std::invalid_argument("a box needs a report, a prefix, a server and a command");
    }
    return result;
}

} // namespace keyreap
