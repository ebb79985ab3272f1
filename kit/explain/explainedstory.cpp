#include "kit/explain/explainedstory.h"

#include <algorithm>

namespace keyreap {

bool ExplainedStory::IsForeign(const JudgedOperation& judged) const {
    return judged.verdict == Verdict::Unwatched && !story.processes[OperationOf(judged).process].isOfCapture;
}

void ExplainedStory::Number() {
    std::size_t last = 0;
    numbers.clear();
    for (const JudgedOperation& judged : verdicts) {
        numbers.push_back(IsForeign(judged) ? 0 : ++last);
    }
}

std::size_t ExplainedStory::NumberOf(std::size_t operation) const {
    const auto found = std::ranges::lower_bound(verdicts, operation, {}, &JudgedOperation::operation);
    const bool isThere = found != verdicts.end() && found->operation == operation;
    return isThere ? numbers[static_cast<std::size_t>(found - verdicts.begin())] : 0;
}

} // namespace keyreap
