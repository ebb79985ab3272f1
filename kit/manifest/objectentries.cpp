#include "kit/manifest/objectentries.h"

#include "platform/core/text/compare.h"

namespace keyreap {

bool IsOfText(const InstallValue& value) {
    constexpr std::uint32_t text = 1; // REG_SZ of winnt.h
    constexpr std::uint32_t expandedText = 2;
    return value.type == text || value.type == expandedText;
}

std::wstring JoinedNames(const std::vector<std::wstring>& names) {
    std::wstring joined;
    for (const std::wstring& name : names) {
        joined.append(joined.empty() ? L"" : L"\\").append(name);
    }
    return joined;
}

void ObjectEntries::Add(Entry entry, std::vector<EmitNote>& notes) {
    const std::wstring key = JoinedNames(entry.key);
    const Entry* const known = entry.value ? EntryAt(key, entry.name) : nullptr;
    if (known == nullptr) {
        if (entry.value) {
            values.emplace(Name(FoldedText(key), FoldedText(entry.name)), entries.size());
        }
        entries.push_back(std::move(entry));
    } else if (known->value->type != entry.value->type || known->value->data != entry.value->data) {
        notes.push_back({entry.place, L"has other data in line " + std::to_wstring(known->place.line) +
                                          L" of " + known->place.file});
    }
}

const ObjectEntries::Entry* ObjectEntries::EntryAt(std::wstring_view key, std::wstring_view name) const {
    const auto found = values.find({FoldedText(std::wstring(key)), FoldedText(std::wstring(name))});
    return found == values.end() ? nullptr : &entries[found->second];
}

const InstallValue* ObjectEntries::Find(std::wstring_view key, std::wstring_view name) const {
    const Entry* const entry = EntryAt(key, name);
    return entry == nullptr ? nullptr : &*entry->value;
}

bool ObjectEntries::IsText(std::wstring_view key, std::wstring_view name) const {
    const InstallValue* const value = Find(key, name);
    return value == nullptr || (IsOfText(*value) && IsLiteral(value->text));
}

std::wstring ObjectEntries::Text(std::wstring_view key, std::wstring_view name) const {
    const InstallValue* const value = Find(key, name);
    if (value == nullptr || !IsText(key, name)) {
        return {};
    }
    return TextOfPieces(value->text, [](const Piece& piece) { return piece.text; });
}

void ObjectEntries::Carry(std::wstring_view key, std::wstring_view name) {
    if (const Entry* const entry = EntryAt(key, name)) {
        entries[static_cast<std::size_t>(entry - entries.data())].isCarried = true;
    }
}

std::wstring ObjectEntries::TakeText(std::wstring_view key, std::wstring_view name) {
    std::wstring text = Text(key, name);
    if (!text.empty()) {
        Carry(key, name);
    }
    return text;
}

void ObjectEntries::NoteRest(std::vector<EmitNote>& notes,
                             const std::function<std::wstring(const Entry&)>& reason) const {
    for (const Entry& entry : entries) {
        if (!entry.isCarried) {
            notes.push_back({entry.place, reason(entry)});
        }
    }
}

} // namespace keyreap
