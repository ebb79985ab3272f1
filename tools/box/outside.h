#pragma once

#include "tools/box/boxwords.h"

namespace keyreap {

// Runs the command in a box and returns its status when everything in the box has ended. The report file has
// one line that says what became of it:
//   ended              all that was in the box has ended
//   unavailable TEXT   there is no box here, and nothing was started; TEXT says why not
//   refused TEXT       this machine has boxes, but none for these words; nothing was started
//   server             the session's server didn't come up, and the command wasn't started
//   ceiling TEXT       the box was ended, since it used more than it may; TEXT says of what
// While the box stands, the lines are `first` with the number of its first process, and `group` with each
// control group. Ends the box early at a signal to end, or when its parent has ended.
int RunOutside(const BoxWords& words);

} // namespace keyreap
