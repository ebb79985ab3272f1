// On Windows there are no sessions that can be thrown away.
#include "kit/captureservers.h"
#include "kit/verb.h"

namespace keyreap {

int CaptureServers(const CaptureWords&) {
    Say("capture: each server needs a session of its own, which only Linux has; here run Keyreap.exe");
    return statusRefused;
}

} // namespace keyreap
