#pragma once

#include <string>
#include <vector>

namespace keyreap {

// Runs the verb that the words name, without the program's name, in UTF-8. Returns the exit status.
int RunCommandLine(std::vector<std::string> words);

} // namespace keyreap
