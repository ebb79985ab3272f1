#include "tools/selfcheck/comparison.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "regmodel/regtextreader.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <variant>

namespace keyreap {

namespace {

constexpr std::size_t mostLines = 100;
constexpr std::wstring_view ownName = L"keyreap";
constexpr std::wstring_view ownGuid = L"{6b1e2c5c-2c0b-4b44-9c0a-5e9b6f5c6d"; // of all samples

using Values = std::map<std::wstring, const RegEntry*>; // by the folded name
struct Key {
    std::wstring path;
    Values values;
};
using Keys = std::map<std::wstring, Key>; // by the folded path

std::variant<RegDocument, RegReadError> DocumentOf(std::string_view bytes) {
    return ReadRegDocument({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

std::vector<RegSection> SectionsOf(std::string_view bytes) {
    auto read = DocumentOf(bytes);
    auto* document = std::get_if<RegDocument>(&read);
    return document != nullptr ? std::move(document->sections) : std::vector<RegSection>();
}

// Empty if no name is the project's own.
std::wstring OwnPathOf(const std::wstring& path) {
    std::wstring own;
    for (const std::wstring& name : SplitText(path, L"\\", false)) {
        own += (own.empty() ? L"" : L"\\") + name;
        if (StartsWithFolded(name, ownName) || StartsWithFolded(name, ownGuid)) {
            return own;
        }
    }
    return {};
}

Keys KeysOf(const RegDocument& document) {
    Keys keys;
    for (const RegSection& section : document.sections) {
        Key& key = keys[FoldedText(section.path)];
        key.path = section.path;
        for (const RegEntry& entry : section.entries) {
            key.values[FoldedText(entry.name)] = &entry;
        }
    }
    return keys;
}

class Comparer {
public:
    explicit Comparer(const Vocabulary& vocabulary) : vocabulary(vocabulary) {}

    void Compare(const Keys& captured, const Keys& expected) {
        for (const auto& [folded, key] : expected) {
            const auto found = captured.find(folded);
            if (found == captured.end()) {
                Add("missing key", key.path);
            } else {
                CompareValues(found->second, key);
            }
        }
        for (const auto& [folded, key] : captured) {
            if (!expected.contains(folded)) {
                AddNewKey(key);
            }
        }
    }

    std::vector<std::string> Lines() const {
        std::vector<std::string> shown(
            lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(std::min(lines.size(), mostLines)));
        if (lines.size() > mostLines) {
            shown.push_back("and " + std::to_string(lines.size() - mostLines) + " further differences");
        }
        return shown;
    }

private:
    void CompareValues(const Key& captured, const Key& expected) {
        for (const auto& [folded, entry] : expected.values) {
            const auto found = captured.values.find(folded);
            if (found == captured.values.end()) {
                Add("missing value", expected.path, entry);
            } else if (!(*found->second == *entry)) {
                Add("other data", expected.path, found->second, entry);
            }
        }
        for (const auto& [folded, entry] : captured.values) {
            if (!expected.values.contains(folded)) {
                Add("further value", captured.path, entry);
            }
        }
    }

    void AddNewKey(const Key& key) {
        Add("further key", key.path);
        for (const auto& [folded, entry] : key.values) {
            Add("further value", key.path, entry);
        }
    }

    void Add(std::string_view what, const std::wstring& path, const RegEntry* entry = nullptr,
             const RegEntry* expected = nullptr) {
        std::string line = std::string(what) + " [" + vocabulary.Reported(path) + "]";
        if (entry != nullptr) {
            line += " \"" + (vocabulary.Contains(entry->name) ? PlainAscii(entry->name) : NameOf(*entry)) +
                    "\" " + TextOf(*entry);
        }
        if (expected != nullptr) {
            line += " instead of " + TextOf(*expected);
        }
        lines.push_back(line);
    }

    static std::string NameOf(const RegEntry& entry) { return entry.name.empty() ? "" : "?"; }

    static std::string TextOf(const RegEntry& entry) {
        return IsFiller(entry) ? "filler"
                               : "type " + std::to_string(entry.type) + ", " +
                                     std::to_string(entry.data.size()) + " bytes";
    }

    const Vocabulary& vocabulary;
    std::vector<std::string> lines;
};

} // namespace

std::vector<std::string> DifferencesOf(std::string_view captured, std::string_view expected, KeyOrder order,
                                       const Vocabulary& vocabulary) {
    if (captured == expected) {
        return {};
    }
    const auto ours = DocumentOf(captured);
    const auto theirs = DocumentOf(expected);
    if (!std::holds_alternative<RegDocument>(ours) || !std::holds_alternative<RegDocument>(theirs)) {
        return {"no .reg file that can be read, of " + std::to_string(captured.size()) + " bytes"};
    }
    Comparer comparer(vocabulary);
    comparer.Compare(KeysOf(std::get<RegDocument>(ours)), KeysOf(std::get<RegDocument>(theirs)));
    std::vector<std::string> lines = comparer.Lines();
    if (lines.empty() && order == KeyOrder::Fixed) {
        lines.emplace_back("the same entries in another order or spelling");
    }
    return lines;
}

void AddNamesOf(std::string_view document, Vocabulary& vocabulary) {
    for (const RegSection& section : SectionsOf(document)) {
        vocabulary.Add(section.path);
        for (const RegEntry& entry : section.entries) {
            vocabulary.Add(entry.name);
        }
    }
}

std::set<std::wstring> OwnKeysOf(std::string_view document) {
    std::set<std::wstring> own;
    for (const RegSection& section : SectionsOf(document)) {
        if (const std::wstring path = OwnPathOf(section.path); !path.empty()) {
            own.insert(path);
        }
    }
    return own;
}

std::set<std::wstring> ValueNamesOf(std::string_view document) {
    std::set<std::wstring> names;
    for (const RegSection& section : SectionsOf(document)) {
        for (const RegEntry& entry : section.entries) {
            names.insert(entry.name);
        }
    }
    return names;
}

} // namespace keyreap
