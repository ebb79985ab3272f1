#pragma once

namespace keyreap {

// Reserves stack of the calling thread, so that the unhandled exception filter can run and show its dialog
// after the thread has used up the rest. False if the system refuses.
bool KeepStackForFilter();

} // namespace keyreap
