#pragma once

#include <exception>
#include <utility>

namespace keyreap {

// Holds the exception of a callback until the call that the callback belongs to has returned. No exception
// may pass through the system's own code: that code need not have tables to unwind it, and doesn't expect to
// end there.
class HeldException {
public:
    // Runs a step of the callback and holds what it throws. After that, steps no longer run.
    template <typename Step>
    void Run(Step&& step) noexcept {
        if (IsHolding()) {
            return;
        }
        try {
            step();
        } catch (...) {
            held = std::current_exception();
        }
    }

    bool IsHolding() const noexcept { return held != nullptr; }

    // Throws the exception on, if there is one, and holds it no longer.
    void ThrowOn() {
        if (IsHolding()) {
            std::rethrow_exception(std::exchange(held, nullptr));
        }
    }

private:
    std::exception_ptr held;
};

} // namespace keyreap
