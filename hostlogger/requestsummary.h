#pragma once

#include "hostlogger/requesttracker.h"

#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// A summary of a request log: the few requests after which a new tracker knows the same handles as one that
// was fed the whole log. The filter writes one ahead of each mark of a reader, which then needs nothing of
// what is before. A summary consists of ordinary lines of the log between two lines of its own:
//
//   summary of \REGISTRY\Keyreap mark 32 47110815
//   fffffff0: open_key( parent=0000, ... )
//   ...
//   end of summary
//
// Appends the summary, and returns true. False, with nothing appended, if no requests lead to the same
// handles: where a key is open in a process that could not have opened it itself.
bool AppendSummary(const RequestTracker& tracker, std::string_view mark, std::string& lines);

// The mark that a request asks for, given without its line break and as the filter keeps it; nothing for any
// other line. Readers look for their mark by this as well.
std::optional<std::string> MarkOf(std::string_view line);

} // namespace keyreap
