#include "kit/lint/ruletable.h"
#include "regmodel/straynames.h"

#include <algorithm>

// Rules about the capture itself: whether it is what a server registered.
namespace keyreap {

void FindEmptyCapture(const LintInput& input, Findings& findings) {
    for (const Capture& capture : input.Captures()) {
        if (!HasValue(capture.document)) {
            findings.push_back({{capture.file, 0, {}, true, {}}, L"no value was captured"});
        }
    }
}

void FindFillers(const LintInput& input, Findings& findings) {
    for (const Capture& capture : input.Captures()) {
        ForEachEntry(capture, [&](const RegEntry& entry, const EntryPlace& place) {
            if (IsFiller(entry)) {
                findings.push_back({place, ReasonAgainstEntry(entry)});
            }
        });
    }
}

void FindStrayNames(const LintInput& input, Findings& findings) {
    for (const Capture& capture : input.Captures()) {
        ForEachSection(capture, [&](const RegSection& section, const EntryPlace& place) {
            if (std::wstring reason = ReasonAgainstKey(section.path); !reason.empty()) {
                findings.push_back({place, std::move(reason)});
            }
        });
        ForEachEntry(capture, [&](const RegEntry& entry, const EntryPlace& place) {
            if (std::ranges::any_of(TextsOf(entry), NamesTemporaryTree)) {
                findings.push_back({place, std::wstring(namesTemporaryTree)});
            }
        });
    }
}

namespace {

std::wstring ReasonOfUnset(const RegEntry& entry) {
    if (entry.kind == RegEntryKind::Damaged) {
        return L"is no entry that an import brings back: expected " + ExpectedInstead(entry);
    }
    return IsFiller(entry) ? L"" : ReasonAgainstEntry(entry);
}

} // namespace

void FindUnsetValues(const LintInput& input, Findings& findings) {
    for (const Capture& capture : input.Captures()) {
        for (const RegSection& section : capture.document.sections) {
            if (section.isDeletion) {
                findings.push_back({{capture.file, section.line, section.path, true, {}}, L"is a deletion"});
            }
        }
        ForEachEntry(capture, [&](const RegEntry& entry, const EntryPlace& place) {
            if (std::wstring reason = ReasonOfUnset(entry); !reason.empty()) {
                findings.push_back({place, std::move(reason)});
            }
        });
    }
}

void FindAmbiguities(const LintInput& input, Findings& findings) {
    for (const Capture& capture : input.Captures()) {
        for (const RegAmbiguity& ambiguity : capture.document.ambiguities) {
            findings.push_back(
                {{capture.file, ambiguity.line, {}, true, {}},
                 L"line " + std::to_wstring(ambiguity.line) + L" is ambiguous: " + ambiguity.reading});
        }
    }
}

} // namespace keyreap
