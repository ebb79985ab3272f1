#include "tools/box/endingsignals.h"

#include <initializer_list>

namespace keyreap {

sigset_t EndingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

} // namespace keyreap
