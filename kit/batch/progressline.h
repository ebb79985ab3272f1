#pragma once

#include <cstddef>
#include <string>

namespace keyreap {

struct BatchProgress {
    std::size_t all = 0;
    std::size_t done = 0; // with the failed ones
    std::size_t failed = 0;
    double seconds = 0; // since the first session began
};

// A bar, the counts, the rate and the time that is left, for a line of this many columns.
std::string ProgressLine(const BatchProgress& progress, std::size_t columns);

} // namespace keyreap
