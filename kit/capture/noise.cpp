#include "kit/capture/noise.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace keyreap {

namespace {

NoiseEntry Folded(const std::wstring& key, const std::optional<std::wstring>& value) {
    return {FoldedText(key), value ? std::optional(FoldedText(*value)) : std::nullopt};
}

bool IsSet(const RegEntry& entry) {
    return entry.kind != RegEntryKind::Deletion;
}

std::set<NoiseEntry> FoldedEntries(std::span<const NoiseEntry> noise) {
    std::set<NoiseEntry> entries;
    for (const NoiseEntry& entry : noise) {
        entries.insert(Folded(entry.key, entry.value));
    }
    return entries;
}

std::set<NoiseEntry> FoldedEntries(const RegDocument& document) {
    std::set<NoiseEntry> entries;
    for (const RegSection& section : document.sections) {
        if (section.isDeletion) {
            continue;
        }
        entries.insert(Folded(section.path, std::nullopt));
        for (const RegEntry& entry : section.entries) {
            if (IsSet(entry)) {
                entries.insert(Folded(section.path, entry.name));
            }
        }
    }
    return entries;
}

} // namespace

RegDocument WithoutNoise(RegDocument document, std::span<const NoiseEntry> noise) {
    const std::set<NoiseEntry> entries = FoldedEntries(noise);
    std::erase_if(document.sections, [&entries](RegSection& section) {
        if (section.isDeletion) {
            return false;
        }
        std::erase_if(section.entries, [&](const RegEntry& entry) {
            return IsSet(entry) && entries.contains(Folded(section.path, entry.name));
        });
        return section.entries.empty() && entries.contains(Folded(section.path, std::nullopt));
    });
    return document;
}

std::vector<NoiseEntry> EntriesNotIn(const RegDocument& document, std::span<const NoiseEntry> noise) {
    const std::set<NoiseEntry> entries = FoldedEntries(document);
    std::vector<NoiseEntry> missing;
    std::ranges::copy_if(noise, std::back_inserter(missing), [&entries](const NoiseEntry& entry) {
        return !entries.contains(Folded(entry.key, entry.value));
    });
    return missing;
}

} // namespace keyreap
