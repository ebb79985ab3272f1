#pragma once

#include "kit/live/registrytree.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>

namespace keyreap {

// The steps of a request, one after another. Each answer has the number of its step.
class Steps {
public:
    // A step that isn't known has {"failure":...} as its only answer.
    void Take(std::size_t number, const nlohmann::json& step);

private:
    // The registry as a whole.
    struct Snapshot {
        RegistryTree machine;
        RegistryTree users;
    };

    void TakeSnapshot();
    void Run(const nlohmann::json& step);
    void Difference();
    void Read(const nlohmann::json& step);
    void Ask(const nlohmann::json& step);

    void Say(nlohmann::json answer) const;
    void SayDone() const;

    std::size_t current = 0;
    std::optional<Snapshot> snapshot;
};

} // namespace keyreap
