#pragma once

#include "kit/check/checkrules.h"
#include "tests/unit/capture/capturelines.h"

#include <array>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

// Facts and findings as tests write them.
namespace keyreap::testsupport {

inline ValueData TextData(std::wstring_view text) {
    return {1, UnitData(std::wstring(text) + L'\0')};
}

inline ValueData NumberData(std::uint8_t number) {
    return {4, {number, 0, 0, 0}};
}

// A value that was not there before.
inline ValueChange NewValue(std::wstring name, std::wstring_view text) {
    return {std::move(name), std::nullopt, TextData(text)};
}

inline KeyChange CreatedKey(std::wstring key, std::vector<ValueChange> values = {}) {
    return {std::move(key), true, false, std::move(values)};
}

inline KeyChange RemovedKey(std::wstring key) {
    return {std::move(key), false, true, {}};
}

inline KeyState State(std::wstring key, std::vector<std::pair<std::wstring, ValueData>> values = {}) {
    return {std::move(key), true, std::move(values)};
}

inline constexpr std::array<CheckPart, 7> allParts = {CheckPart::Whole,  CheckPart::Result, CheckPart::Works,
                                                      CheckPart::Clean,  CheckPart::Noise,  CheckPart::Same,
                                                      CheckPart::Fillers};

// Each finding as its rule, its key and its value: C101 HKEY_CLASSES_ROOT\a "b".
inline std::vector<std::wstring> Found(const RegDocument& document, const CheckFacts& facts) {
    const Capture capture = {L"a.reg", document};
    const CheckInput input(capture, facts);
    std::vector<std::wstring> lines;
    for (const CheckFinding& finding : FindingsOf(input, allParts, {})) {
        std::wstring line(finding.rule.begin(), finding.rule.end());
        line += finding.key.empty() ? L"" : L' ' + finding.key;
        line += finding.value ? L" \"" + *finding.value + L'"' : L"";
        lines.push_back(line);
    }
    return lines;
}

inline std::vector<std::wstring> Sentences(const RegDocument& document, const CheckFacts& facts) {
    const Capture capture = {L"a.reg", document};
    const CheckInput input(capture, facts);
    std::vector<std::wstring> sentences;
    for (const CheckFinding& finding : FindingsOf(input, allParts, {})) {
        sentences.push_back(finding.sentence);
    }
    return sentences;
}

} // namespace keyreap::testsupport
