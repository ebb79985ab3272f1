#pragma once

#include "tools/selfcheck/places.h"
#include "tools/selfcheck/report.h"

#include <cstddef>

namespace keyreap {

// Runs the suites of suites.txt, every step-th of those that can run here. Each test is expected to pass.
ReportPart CheckSuites(const Places& places, std::size_t step);

} // namespace keyreap
