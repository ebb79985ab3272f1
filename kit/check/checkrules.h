#pragma once

#include "kit/check/checkfacts.h"
#include "kit/check/checkreport.h"
#include "kit/check/comparedcapture.h"

#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What keykit check looks for. docs/check.md has a section for each rule.
namespace keyreap {

// What the rules look at. Keeps references.
struct CheckInput {
    CheckInput(const Capture& capture, const CheckFacts& facts);

    bool IsNoise(std::wstring_view key, const std::optional<std::wstring>& value) const;

    // True for a key that the server wrote past the capture.
    bool IsPastCapture(std::wstring_view comparedKey) const;

    const Capture& capture;
    const CheckFacts& facts;
    ComparedCapture compared;
    std::vector<NoiseEntry> noise;

private:
    std::set<NoiseEntry> foldedNoise;   // with compared keys
    std::set<std::wstring> pastCapture; // compared keys
};

// The place and the sentence of a finding, without its rule.
using CheckPlaces = std::vector<CheckFinding>;

struct CheckRule {
    std::string_view number;
    std::string_view name; // what is found
    CheckPart part;
    void (*find)(const CheckInput& input, CheckPlaces& found);
};

// In the order of their numbers.
std::span<const CheckRule> CheckRules();

// All findings of the parts that were checked, but for the rules that are left out: in the order of the
// rules, each once.
std::vector<CheckFinding> FindingsOf(const CheckInput& input, std::span<const CheckPart> parts,
                                     std::span<const std::string> without);

// The entries of a capture that are noise: three captures agree on it (WitnessFacts), and the entry names
// none of the server's files and objects.
std::vector<NoiseEntry> NoiseOf(const Capture& capture, const CheckFacts& facts);

} // namespace keyreap
