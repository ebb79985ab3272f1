#pragma once

#include "hostlogger/filter/summaries.h"
#include "hostlogger/filter/unplacedlines.h"

#include <string>
#include <string_view>

namespace keyreap {

// Appends what is kept of a line of the server's request log, given without its line break, to `kept` and
// ends it with one; appends nothing if the line isn't kept. Kept are requests and replies about keys,
// handles, processes, threads and image mappings, the real names of the keys that they opened, the ends of
// threads and processes, and the server's word that it is up. The data of values and what a new process is
// given (its environment, its command line) are left out, but for the file name of its image, without the
// folder: `image=L"server.exe"`.
void AppendKeptPart(std::string_view line, std::string& kept);

// Splits the log, which comes in pieces of any size, into its lines.
class KeptLines {
public:
    // Appends what is kept of the lines that `piece` ends to `kept`, and a summary ahead of each mark.
    void Take(std::string_view piece, std::string& kept);

    // Those among the lines so far that no known server writes.
    const UnplacedLines& Unplaced() const { return unplaced; }

private:
    void TakeLine(std::string_view line, std::string& kept);
    void Begin(std::string_view head);

    UnplacedLines unplaced;
    Summaries summaries;

    // The beginning of a line whose end has not been read yet.
    std::string begun;
};

} // namespace keyreap
