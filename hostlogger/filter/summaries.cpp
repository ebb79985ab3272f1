#include "hostlogger/filter/summaries.h"

#include "hostlogger/requestsummary.h"

#include <string_view>

namespace keyreap {

void Summaries::Take(std::size_t start, std::string& kept) {
    if (facts.WereAsked()) {
        return;
    }
    const std::string line = kept.substr(start, kept.size() - start - 1);
    requests += line.size() + 1;
    if (const auto mark = summaries + lastSize <= requests ? MarkOf(line) : std::nullopt) {
        std::string summary;
        AppendSummary(tracker, *mark, summary);
        kept.insert(start, summary);
        lastSize = summary.size();
        summaries += lastSize;
    }
    tracker.Feed(line, nullptr);
}

} // namespace keyreap
