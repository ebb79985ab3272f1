#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// A part of what is sent back: a text, and how much of it differs from what is expected.
struct ReportPart {
    std::string name; // of its file
    std::vector<std::string> lines;
    std::size_t tried = 0;
    std::size_t differing = 0;

    void Add(std::string line) { lines.push_back(std::move(line)); }
    void AddIndented(const std::vector<std::string>& further) {
        for (const std::string& line : further) {
            lines.push_back("    " + line);
        }
    }
    // A line for something that was tried.
    void AddTried(bool isAsExpected, std::string_view line) {
        ++tried;
        differing += isAsExpected ? 0 : 1;
        lines.push_back((isAsExpected ? "ok      " : "DIFFERS ") + std::string(line));
    }
    std::string Text() const {
        std::string text;
        for (const std::string& line : lines) {
            text += line + "\r\n";
        }
        return text;
    }
};

} // namespace keyreap
