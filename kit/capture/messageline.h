#pragma once

#include <string>

namespace keyreap {

// A message in UTF-8 with a blank in the place of each control character and each line break of any kind.
// Names and data of a capture may have them, and would add lines or control a terminal. Other bytes stay.
std::string InOneLine(std::string message);

} // namespace keyreap
