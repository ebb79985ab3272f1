#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The command line that a program of Windows splits into these words again, by the rules of its C run time.
std::wstring CommandLineOf(const std::vector<std::wstring>& words);

} // namespace keyreap
