#pragma once

#include <cstddef>
#include <string>

namespace keyreap {

// The last line of a terminal on standard error, which is written over again and again. Does nothing if
// standard error is no terminal. The line is free again at the end.
class TerminalLine {
public:
    TerminalLine();
    ~TerminalLine();
    TerminalLine(const TerminalLine&) = delete;
    TerminalLine& operator=(const TerminalLine&) = delete;

    bool IsThere() const { return isThere; }
    std::size_t Columns() const;
    void Show(const std::string& text);
    void Clear();

private:
    const bool isThere;
    std::string shown;
};

} // namespace keyreap
