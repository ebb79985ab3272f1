#pragma once

#include "tools/selfcheck/places.h"
#include "tools/selfcheck/report.h"
#include "tools/selfcheck/vocabulary.h"

namespace keyreap {

// Records the registry's events for five seconds, in which two samples register themselves, and compares what
// the events are like with expected.txt. A session of the kernel logger that isn't ours is left alone; then
// there is no recording, and the report says so.
ReportPart CheckRecording(const Places& places, const Vocabulary& vocabulary);

} // namespace keyreap
