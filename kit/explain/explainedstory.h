#pragma once

#include "kit/explain/story.h"
#include "kit/explain/verdict.h"

#include <unordered_map>
#include <vector>

namespace keyreap {

// A capture with the verdict on each operation that matters.
struct ExplainedStory {
    Story story;
    std::vector<JudgedOperation> verdicts; // in the order of the story
    bool isFromTrace = false;              // the result comes from a trace, not from the redirected roots
    bool isRedirected = false;             // the server's process wrote to redirected roots

    const StoryOperation& OperationOf(const JudgedOperation& judged) const {
        return story.operations[judged.operation];
    }

    // Whether the operation is of a process that ran before the capture, and isn't watched.
    bool IsForeign(const JudgedOperation& judged) const;

    // The number of the line about an operation of the story, from 1; 0 if it has none. What is foreign has
    // none.
    std::size_t NumberOf(std::size_t operation) const;

    // Gives each verdict its number.
    void Number();

private:
    std::vector<std::size_t> numbers; // of the verdicts
};

} // namespace keyreap
