#pragma once

#include "kit/liveprogram.h"

#include <string>

namespace keyreap {

// What KeyKitLive prints in a session for the request in a file, up to its end. Empty if it can't be started;
// fails with a Refusal if nothing could start it.
std::string LiveOutput(const LiveSession& session, const std::string& request);

// True if nothing of a session outlives it; false if it is this machine itself.
bool SessionsAreThrownAway();

} // namespace keyreap
