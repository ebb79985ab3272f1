#pragma once

namespace keyreap {

// How a run captures; one mode holds for all its pairs.
enum class CaptureMode {
    keyRedir = 1, // redirect the predefined roots and harvest the temporary trees
    trace = 2,    // trace the kernel's registry events alone
    both = 3,     // redirect and trace; the trace gives the result, or the trees if it couldn't be started
};

// Whether a session's result comes from its trace. Otherwise it comes from the temporary trees, in `trace`
// mode from trees that nothing was redirected to.
constexpr bool ReplaysTrace(CaptureMode mode, bool traceFailed) {
    return mode != CaptureMode::keyRedir && !traceFailed;
}

} // namespace keyreap
