#pragma once

#include "kit/lint/lintinput.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

// What keykit lint looks for. docs/lint.md has a section for each rule.
namespace keyreap {

struct Finding {
    EntryPlace place;
    std::wstring sentence; // whose subject is the place
};

using Findings = std::vector<Finding>;

struct LintRule {
    std::string_view number;
    std::string_view name; // what is found
    void (*find)(const LintInput& input, Findings& findings);
};

// In the order of their numbers.
std::span<const LintRule> LintRules();

struct RuleFinding {
    const LintRule* rule = nullptr;
    Finding finding;
};

// All findings, sorted by file, rule, key, value and sentence, each of them once.
std::vector<RuleFinding> FindingsIn(const LintInput& input);

} // namespace keyreap
