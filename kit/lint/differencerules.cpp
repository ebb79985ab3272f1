#include "kit/lint/ruletable.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

// What differs from an older capture. A server's path counts as the same wherever it was captured.
namespace keyreap {

namespace {

struct Value {
    std::wstring name;
    std::uint32_t type = 0;
    std::wstring data; // comparable
};

struct Key {
    EntryPlace place;
    bool hasContent = false;              // values, or no keys in it
    std::map<std::wstring, Value> values; // by folded name
};

using Keys = std::map<std::wstring, Key>; // by folded path

std::wstring Comparable(std::wstring_view text, PathForms& paths, const std::vector<CapturedPath>& known) {
    return TextOfPieces(paths.Replaced(text), [&known](const Piece& piece) {
        if (piece.kind == PieceKind::Literal) {
            return piece.text;
        }
        const std::wstring path = piece.kind == PieceKind::File ? known[piece.server].path : L"";
        return L'\1' + FoldedText(path.substr(path.rfind(L'\\') + 1)) + L'\1';
    });
}

// Later entries count, and deletions take away.
class State {
public:
    explicit State(const std::vector<CapturedPath>& known) : known(known), paths(known) {}

    void Add(const Capture& capture) {
        const std::set<std::wstring> withContent = KeysWithContent(capture);
        ForEachSection(capture, [&](const RegSection& section, const EntryPlace& place) {
            const std::wstring path = FoldedText(section.path);
            Key& key = keys.try_emplace(path, Key{place, false, {}}).first->second;
            key.hasContent = key.hasContent || withContent.contains(path);
        });
        ForEachEntry(capture, [&](const RegEntry& entry, const EntryPlace& place) {
            std::map<std::wstring, Value>& values = keys.at(FoldedText(place.key)).values;
            std::wstring name = FoldedText(Comparable(entry.name, paths, known));
            if (entry.kind == RegEntryKind::Deletion) {
                values.erase(name);
            } else {
                values.insert_or_assign(std::move(name), Value{entry.name, entry.type, DataOf(entry)});
            }
        });
    }

    const Keys& All() const { return keys; }

private:
    std::wstring DataOf(const RegEntry& entry) {
        const std::vector<std::wstring> texts = TextsOf(entry);
        if (texts.empty()) {
            return std::wstring(entry.data.begin(), entry.data.end()) + entry.otherText;
        }
        std::wstring data;
        for (const std::wstring& text : texts) {
            data += Comparable(text, paths, known) + L'\0';
        }
        return data;
    }

    const std::vector<CapturedPath>& known;
    PathForms paths;
    Keys keys;
};

bool IsBelow(std::wstring path, const std::set<std::wstring>& keys) {
    for (std::size_t end = path.rfind(L'\\'); end != std::wstring::npos; end = path.rfind(L'\\')) {
        path.resize(end);
        if (keys.contains(path)) {
            return true;
        }
    }
    return false;
}

// Calls visit(key) for each key of `keys` that `others` doesn't have, and not for those below it.
template <typename Visit>
void ForEachMissing(const Keys& keys, const Keys& others, const Visit& visit) {
    std::set<std::wstring> missing;
    for (const auto& [path, key] : keys) {
        if (key.hasContent && !others.contains(path) && !IsBelow(path, missing)) {
            missing.insert(path);
            visit(key);
        }
    }
}

// Calls visit(place, value, other) for each value of the keys that both have; `other` is null if it's
// missing.
template <typename Visit>
void ForEachValue(const Keys& keys, const Keys& others, const Visit& visit) {
    for (const auto& [path, key] : keys) {
        const auto same = others.find(path);
        for (const auto& [name, value] : key.values) {
            if (same != others.end()) {
                const auto other = same->second.values.find(name);
                visit(ValueIn(key.place, value.name), value,
                      other == same->second.values.end() ? nullptr : &other->second);
            }
        }
    }
}

struct States {
    explicit States(const LintInput& input) : now(input.ComparedPaths()), before(input.ComparedPaths()) {
        for (const Capture& capture : input.Captures()) {
            now.Add(capture);
        }
        before.Add(*input.Against());
    }

    State now;
    State before;
};

void FindMissing(const Keys& keys, const Keys& others, const std::wstring& sentence, Findings& findings) {
    ForEachMissing(keys, others, [&](const Key& key) { findings.push_back({key.place, sentence}); });
    ForEachValue(keys, others, [&](const EntryPlace& place, const Value&, const Value* other) {
        if (other == nullptr) {
            findings.push_back({place, sentence});
        }
    });
}

} // namespace

void FindGone(const LintInput& input, Findings& findings) {
    if (input.Against() != nullptr) {
        const States states(input);
        FindMissing(states.before.All(), states.now.All(), L"is gone", findings);
    }
}

void FindNew(const LintInput& input, Findings& findings) {
    if (input.Against() != nullptr) {
        const States states(input);
        FindMissing(states.now.All(), states.before.All(), L"is new", findings);
    }
}

void FindChanged(const LintInput& input, Findings& findings) {
    if (input.Against() == nullptr) {
        return;
    }
    const States states(input);
    ForEachValue(states.now.All(), states.before.All(),
                 [&](const EntryPlace& place, const Value& value, const Value* other) {
                     if (other != nullptr && (value.type != other->type || value.data != other->data)) {
                         findings.push_back(
                             {place, value.type == other->type ? L"has other data" : L"has another type"});
                     }
                 });
}

} // namespace keyreap
