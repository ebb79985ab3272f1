#pragma once

#include "kit/check/checkfacts.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <vector>

// Answers of KeyKitLive as facts. An answer without what belongs there counts as none.
namespace keyreap {

// The steps of a request, and afterwards their answers.
class LiveSteps {
public:
    // The number of the step.
    std::size_t Add(nlohmann::json step);

    // A step in which another process answers a question.
    std::size_t Ask(nlohmann::json request);

    nlohmann::json Request() const;

    void TakeAnswers(std::vector<nlohmann::json> all) { answers = std::move(all); }

    // The answers of a step, in order.
    std::vector<nlohmann::json> AnswersOf(std::size_t step) const;

    // True if the step has its last answer.
    bool IsDone(std::size_t step) const;

private:
    std::vector<nlohmann::json> steps;
    std::vector<nlohmann::json> answers;
};

std::vector<KeyChange> ChangesIn(const std::vector<nlohmann::json>& answers);
std::vector<KeyState> StatesIn(const std::vector<nlohmann::json>& answers);
std::vector<DependencyFact> DependenciesIn(const std::vector<nlohmann::json>& answers);

// The number of this name in the first answer that has one.
std::optional<std::uint32_t> NumberIn(const std::vector<nlohmann::json>& answers, const char* name);

} // namespace keyreap
