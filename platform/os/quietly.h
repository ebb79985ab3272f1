#pragma once

namespace keyreap {

// Runs a step that must not throw, in a destructor or below a callback of the system: what it throws, for
// want of memory, is dropped, and the steps behind it still run.
template <typename Step>
void Quietly(Step&& step) noexcept {
    try {
        step();
    } catch (...) {
    }
}

} // namespace keyreap
