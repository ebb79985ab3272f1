#include "kit/commandoutput.h"

#include <array>
#include <cstdio>

namespace keyreap {

namespace {

std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char unit : word) {
        quoted += unit == '\'' ? std::string("'\\''") : std::string(1, unit);
    }
    return quoted + "'";
}

} // namespace

std::optional<std::string> OutputOf(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        line += Quoted(word) + ' ';
    }
    std::FILE* const pipe = popen((line + "</dev/null").c_str(), "r");
    if (pipe == nullptr) {
        return std::nullopt;
    }
    std::string text;
    std::array<char, 4096> block{};
    for (std::size_t count = 1; count > 0;) {
        count = std::fread(block.data(), 1, block.size(), pipe);
        text.append(block.data(), count);
    }
    pclose(pipe);
    return text;
}

} // namespace keyreap
