#pragma once

#include <stdexcept>

namespace keyreap {

// A sentence about an argument or a file with which nothing can be made.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace keyreap
