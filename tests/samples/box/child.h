#pragma once

#include "tests/samples/box/attempt.h"

namespace keyreap::samples::box {

struct Outcome {
    // An error's number below zero if it was refused.
    Word result = 0;
    Text got;
    // What ended the copy before it had a result, or 0.
    int signal = 0;
};

// Runs a way in a copy of the process, so that whatever it does to its process ends with it.
Outcome InChild(Function function, const Arguments& arguments);

} // namespace keyreap::samples::box
