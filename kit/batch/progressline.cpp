#include "kit/batch/progressline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace keyreap {

namespace {

constexpr double minute = 60;

std::string WithOneDigit(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", number);
    return text.data();
}

std::string TimeText(double seconds) {
    const auto whole = static_cast<long>(std::ceil(seconds));
    constexpr long perMinute = static_cast<long>(minute);
    return whole < perMinute
               ? std::to_string(whole) + " s"
               : std::to_string(whole / perMinute) + " min " + std::to_string(whole % perMinute) + " s";
}

std::string Bar(const BatchProgress& progress, std::size_t width) {
    const std::size_t full = progress.all == 0 ? 0 : width * progress.done / progress.all;
    return std::string(1, '[').append(full, '#').append(width - full, '.').append("] ");
}

} // namespace

std::string ProgressLine(const BatchProgress& progress, std::size_t columns) {
    std::string text = std::to_string(progress.done) + " of " + std::to_string(progress.all) + ", " +
                       std::to_string(progress.failed) + " failed";
    if (progress.done > 0 && progress.seconds > 0) {
        const double rate = static_cast<double>(progress.done) / progress.seconds;
        text += ", " + WithOneDigit(rate) + " a second, " +
                TimeText(static_cast<double>(progress.all - progress.done) / rate) + " left";
    }
    constexpr std::size_t widest = 30;
    constexpr std::size_t narrowest = 5;
    constexpr std::size_t frame = 4; // the brackets, the blank and the column after the line
    const std::size_t room = columns > text.size() + frame ? columns - text.size() - frame : 0;
    return room < narrowest ? text.substr(0, columns) : Bar(progress, std::min(room, widest)) + text;
}

} // namespace keyreap
