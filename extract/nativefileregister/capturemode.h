#pragma once

namespace keyreap {

// How a run captures. All its pairs have the same mode.
enum class CaptureMode {
    keyRedir = 1, // redirect the predefined roots and harvest the temporary trees
    trace = 2,    // only trace the kernel's registry events
    both = 3, // redirect and trace; the result comes from the trace, or from the trees if it couldn't start
};

// Whether a session's result comes from its trace. Otherwise it comes from the temporary trees. In mode
// `trace` nothing was redirected to them.
constexpr bool ReplaysTrace(CaptureMode mode, bool traceFailed) {
    return mode != CaptureMode::keyRedir && !traceFailed;
}

} // namespace keyreap
