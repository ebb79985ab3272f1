#include "hostlogger/strictness.h"

#include <array>
#include <charconv>
#include <utility>

namespace keyreap {

namespace {

using Flag = bool Strictness::*;
using Number = std::uint32_t Strictness::*;

constexpr std::array<std::pair<std::string_view, Flag>, 4> flags = {{
    {"creations", &Strictness::creations},
    {"system", &Strictness::system},
    {"outlives", &Strictness::outlives},
    {"capitals", &Strictness::capitals},
}};

constexpr std::array<std::pair<std::string_view, Number>, 2> numbers = {{
    {"status ", &Strictness::startStatus},
    {"lost ", &Strictness::lostEvents},
}};

constexpr std::string_view userWord = "user ";

// Leaves the number alone if the text isn't one.
void TakeNumber(std::string_view digits, std::uint32_t& number) {
    std::uint32_t taken = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), taken);
    if (error == std::errc() && end == digits.data() + digits.size()) {
        number = taken;
    }
}

void TakeLine(std::string_view line, Strictness& strictness) {
    for (const auto& [word, flag] : flags) {
        if (line == word) {
            strictness.*flag = true;
        }
    }
    for (const auto& [word, number] : numbers) {
        if (line.starts_with(word)) {
            TakeNumber(line.substr(word.size()), strictness.*number);
        }
    }
    if (line.starts_with(userWord)) {
        line.remove_prefix(userWord.size());
        strictness.user.assign(line.begin(), line.end());
    }
}

} // namespace

Strictness Strictness::Parse(std::string_view text) {
    Strictness strictness;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        TakeLine(text.substr(0, end), strictness);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return strictness;
}

} // namespace keyreap
