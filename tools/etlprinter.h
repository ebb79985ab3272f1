#pragma once

#include <iosfwd>

namespace keyreap {

class EtlSource;

// Prints what an event trace log contains: its header, each event in a line of its own if `eachEvent`, and
// the number of events of each kind. False, after a line that says so, if it is no log or its end can't be
// read.
bool PrintLog(EtlSource& source, bool eachEvent, std::ostream& out);

} // namespace keyreap
