#pragma once

#include <string>
#include <vector>

namespace keyreap {

// Runs the program that captures and explains, in the server's bitness, with a mode, the server's Windows
// path and its options, all in UTF-8. It prints its results itself. Returns its exit status, or that of a
// refusal after a sentence on standard error.
int RunExplainer(const std::string& bitness, const std::vector<std::string>& words);

// The same, but what it prints is returned. Empty if nothing can be explained.
std::string ExplainedText(const std::string& bitness, const std::vector<std::string>& words);

} // namespace keyreap
