#include "kit/terminalline.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

namespace keyreap {

TerminalLine::TerminalLine() : isThere(isatty(STDERR_FILENO) == 1) {}

TerminalLine::~TerminalLine() {
    Clear();
}

std::size_t TerminalLine::Columns() const {
    constexpr std::size_t usual = 80;
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

void TerminalLine::Show(const std::string& text) {
    if (isThere && text != shown) {
        std::cerr << "\r\x1b[K" << text << std::flush;
        shown = text;
    }
}

void TerminalLine::Clear() {
    if (isThere && !shown.empty()) {
        std::cerr << "\r\x1b[K" << std::flush;
        shown.clear();
    }
}

} // namespace keyreap
