#pragma once

#include <string_view>

namespace keyreap {

// Whether a request that the filter keeps, or a reply to it, has the form and the fields that the tracker
// reads (hostlogger/requesttracker.h). `afterName` is the line from the bracket after the request's name on.
// True for a request that the filter doesn't keep.
bool HasNeededForm(std::string_view name, std::string_view afterName);

// Whether a text of the server is ASCII, with escapes that UnescapeServerText decodes alone.
bool HasKnownEscapes(std::string_view text);

} // namespace keyreap
