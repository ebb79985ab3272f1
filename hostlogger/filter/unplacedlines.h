#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace keyreap {

// Finds the lines of the server's log that the servers of Wine 8.0 and 10.0 don't write. Another release may
// report changes of the registry in them, so a trace of such a log may miss something. A line is placed if it
// is one of these:
//
// - a request or a reply of a known name; if the filter keeps it, it also needs a known form,
// - a known event of a thread or process,
// - a known message of the server itself, or the continuation of such a line.
class UnplacedLines {
public:
    // Needs every line, in the log's order and without its line break.
    void Check(std::string_view line);

    std::size_t Count() const { return count; }

    // The first unplaced line as one line of text: without control characters, cut to about 200 characters,
    // and without its texts and lists, since these may be private.
    const std::string& First() const { return first; }

private:
    bool IsPlaced(std::string_view line);
    bool IsPlacedThreadLine(std::string_view line, std::string_view text);
    bool IsPlacedServerLine(std::string_view line);
    bool IsContinuation(std::string_view line);

    std::size_t count = 0;
    std::string first;
    bool dataContinues = false; // the last line ends within the bytes of a value
    bool nameContinues = false; // the last line ends within the name of a Unix file
    bool ended = false;         // the server ends, and reports what is in its memory
};

} // namespace keyreap
