#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace keyreap::testsupport {

// The variable KEYREAP_SAMPLE: every how many cases a suite with very many of them takes one; 1 if there is
// no such variable.
inline std::uint32_t SampleStep() {
    const char* const step = std::getenv("KEYREAP_SAMPLE");
    return step == nullptr || *step == '\0' ? 1 : static_cast<std::uint32_t>(std::stoul(step));
}

} // namespace keyreap::testsupport
