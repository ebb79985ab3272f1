#pragma once

#include <iosfwd>

namespace keyreap {

class EtlSource;

// Prints what an event trace log holds: what its header says, each event in a line of its own if asked for,
// and how many events of each kind there are. False, after a line that says so, if it is no log or can't be
// read to its end.
bool PrintLog(EtlSource& source, bool eachEvent, std::ostream& out);

} // namespace keyreap
