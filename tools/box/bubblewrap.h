#pragma once

#include "tools/box/boxwords.h"

#include <string>
#include <vector>

namespace keyreap {

// The tool that makes the namespaces.
inline constexpr const char* bubblewrapPath = "/usr/bin/bwrap";

// All words for bwrap but the command. `hasUsers` asks for a user namespace: without one, only root can make
// a box, and its programs may go on to make user namespaces of their own.
std::vector<std::string> BubblewrapWords(const BoxWords& words, bool hasUsers);

} // namespace keyreap
