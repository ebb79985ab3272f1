#pragma once

#include "tools/capturecheck/commandwords.h"
#include "tools/capturecheck/pairfiles.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// Takes a record for the script: its kind and its text.
using RecordSink = std::function<void(std::string_view kind, std::string_view text)>;

// Prints the words for the program, and the state of each pair before the run.
void PrintWords(std::span<const std::string> words, const std::vector<PairFiles>& pairs,
                const RecordSink& print);

// Prints all messages about a run that ended with a status. A person also gets the contents of each file.
void ReportRun(const CommandWords& words, const std::vector<std::string>& states, int status,
               bool isForPerson, const RecordSink& print);

} // namespace keyreap
