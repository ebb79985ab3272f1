#pragma once

#include "hostlogger/keylookup.h"

#include <string>
#include <unordered_map>

namespace keyreap {

// The facts of the live registry. Asked by native calls, so that an override of a predefined root has no
// effect. Answers are cached until Forget. Windows only.
class LiveKeyFacts : public KeyFacts {
public:
    bool Exists(const std::wstring& path) override { return Ask(path).exists; }
    std::optional<std::wstring> LinkTarget(const std::wstring& path) override { return Ask(path).target; }

    void Forget() { answers.clear(); }

private:
    struct Answer {
        bool exists = false;
        std::optional<std::wstring> target;
    };

    const Answer& Ask(const std::wstring& path);
    static Answer Look(std::wstring path);

    std::unordered_map<std::wstring, Answer> answers; // by path, A to Z folded
};

} // namespace keyreap
