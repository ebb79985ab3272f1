#pragma once

#include <string>

namespace keyreap {

// What KeyKitLive of a bitness prints for the request in a file, up to its end. Empty if it can't be started;
// fails with a Refusal if nothing could start it.
std::string LiveOutput(int bitness, const std::string& request);

} // namespace keyreap
