#include "regmodel/regentryreader.h"

#include "regmodel/regkeyreader.h"
#include "regmodel/regvaluereader.h"

#include <algorithm>
#include <utility>

namespace keyreap {

namespace {

// The whole entries that can be read at a place, and the fault of the first way that gives none.
struct Readings {
    std::vector<ReadEntry> entries;
    std::optional<RegFault> fault;

    void Add(RegFault reason) {
        if (!fault) {
            fault = std::move(reason);
        }
    }
};

void AddEntry(Readings& readings, const RegSource& source, ReadValue value, const QuotedText& name) {
    const std::optional<std::size_t> end = AfterRestOfLine(source, value.end);
    const bool isDamagedDeletion = name.isLone && value.entry.kind == RegEntryKind::Deletion;
    if (!end || isDamagedDeletion) {
        readings.Add({value.end, L"the end of the line"});
        return;
    }
    value.entry.name = name.text;
    value.entry.hasLoneName = name.isLone;
    if (name.isLone && value.entry.kind == RegEntryKind::Value) {
        value.entry.kind = RegEntryKind::Damaged;
    }
    readings.entries.push_back({std::move(value.entry), *end, std::move(value.pairsOfLines),
                                value.hasLineEscape || name.hasLineEscape});
}

void AddWithName(Readings& readings, const RegSource& source, const QuotedText& name) {
    const std::size_t sign = AfterBlanks(source, name.end);
    if (!IsAt(source, sign, L"=")) {
        readings.Add({sign, L"an equals sign"});
        return;
    }
    auto values = ReadRegValue(source, sign + 1);
    if (auto* fault = std::get_if<RegFault>(&values)) {
        readings.Add(std::move(*fault));
        return;
    }
    for (ReadValue& value : std::get<std::vector<ReadValue>>(values)) {
        AddEntry(readings, source, std::move(value), name);
    }
}

Readings ReadAll(const RegSource& source, std::size_t at) {
    Readings readings;
    if (IsAt(source, at, L"@")) {
        AddWithName(readings, source, {L"", at + 1});
        return readings;
    }
    auto name = ReadEscapedText(source, at);
    if (const auto* text = std::get_if<QuotedText>(&name)) {
        AddWithName(readings, source, *text);
    } else {
        readings.Add(std::get<RegFault>(name));
    }
    if (const std::optional<QuotedText> lone = ReadLoneText(source, at)) {
        AddWithName(readings, source, *lone);
    }
    return readings;
}

// True if what follows an entry can be read: one more entry or key, or nothing.
bool CanFollow(const RegSource& source, std::size_t at) {
    at = AfterBlanks(source, at);
    if (AfterRestOfLine(source, at)) {
        return true;
    }
    if (IsAt(source, at, L"[")) {
        return std::holds_alternative<ReadKey>(ReadRegKey(source, at));
    }
    return IsLineStart(source, at) && !ReadAll(source, at).entries.empty();
}

// Of several readings, those remain that are followed by something readable, if there are any.
void DropUnlikely(const RegSource& source, std::vector<ReadEntry>& entries) {
    const auto isUnlikely = [&](const ReadEntry& read) { return !CanFollow(source, read.end); };
    if (entries.size() > 1 && !std::ranges::all_of(entries, isUnlikely)) {
        std::erase_if(entries, isUnlikely);
    }
}

} // namespace

std::variant<ReadEntry, RegFault> ReadRegEntry(const RegSource& source, std::size_t at) {
    Readings readings = ReadAll(source, at);
    if (readings.entries.empty()) {
        return *readings.fault;
    }
    DropUnlikely(source, readings.entries);
    ReadEntry& shortest = *std::ranges::min_element(readings.entries, {}, &ReadEntry::end);
    shortest.isAmbiguous = readings.entries.size() > 1;
    return std::move(shortest);
}

} // namespace keyreap
