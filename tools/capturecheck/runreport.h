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

// The words for the program, and the state of each pair before the run.
void PrintWords(std::span<const std::string> words, const std::vector<PairFiles>& pairs,
                const RecordSink& print);

// All that is to be said of a run that ended with a status. To a person it is also said what came of each
// file.
void ReportRun(const CommandWords& words, const std::vector<std::string>& states, int status,
               bool isForPerson, const RecordSink& print);

} // namespace keyreap
