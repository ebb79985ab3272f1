#pragma once

#include <csignal>

namespace keyreap {

// The signals by which a person or another program asks this one to end.
sigset_t EndingSignals();

} // namespace keyreap
