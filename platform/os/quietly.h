#pragma once

namespace keyreap {

// Runs a step that must not throw, in a destructor or in a callback of the system: an exception, such as that
// of missing memory, is dropped, and later steps still run.
template <typename Step>
void Quietly(Step&& step) noexcept {
    try {
        step();
    } catch (...) {
    }
}

} // namespace keyreap
