#pragma once

#include "kit/show/showpage.h"

#include <cstddef>
#include <deque>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace keyreap {

// What a capture says about a key. A key that is named only by those below it is present.
enum class KeyState : std::size_t {
    Absent,
    Present,
    CapturesOwn,
    Deleted,
    Replaced, // deleted, and then made again
};

// A value by its name in all captures.
struct ComparedValue {
    std::wstring name;
    std::vector<std::size_t> data; // an index for each capture, or CaptureTree::none
};

struct ComparedKey {
    std::wstring name;
    std::size_t parent = 0; // CaptureTree::none for a root
    std::vector<KeyState> states;
    std::vector<ComparedValue> values; // in the order of their names
};

// The keys of several captures as one tree, by their paths in the files. Names are compared with A to Z
// folded. A value is as its capture sets it last; one that is deleted is shown as that. Keys are in the order
// of their names, each before those below it. Keeps references to the entries.
class CaptureTree {
public:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    explicit CaptureTree(std::span<const PageCapture> captures);

    const std::vector<ComparedKey>& Keys() const { return keys; }

    // Without repetitions: entries that an import can't distinguish are one.
    const std::vector<const RegEntry*>& Data() const { return data; }

    // The key of a section.
    std::size_t KeyOf(std::size_t capture, std::size_t section) const {
        return keysOfSections[capture][section];
    }

    // The key of a path; none if no capture has it.
    std::size_t Find(std::wstring_view path) const;

private:
    struct Node {
        ComparedKey key;
        std::map<std::wstring, std::size_t> children; // by folded names
        std::map<std::wstring, ComparedValue> values; // the same
    };

    std::size_t Added(std::wstring_view path);
    std::size_t AddedChild(std::size_t parent, std::wstring_view name);
    void AddSection(std::size_t capture, const RegSection& section, std::size_t node);
    void MarkPresent(std::size_t capture, std::size_t node);
    void Delete(std::size_t capture, std::size_t node);
    std::size_t IndexOf(const RegEntry& entry);
    void Sort();

    std::size_t captureCount;
    std::deque<Node> nodes; // the first one contains the roots
    std::vector<ComparedKey> keys;
    std::vector<const RegEntry*> data;
    std::unordered_map<std::string, std::size_t> indices;
    std::vector<std::vector<std::size_t>> keysOfSections;
    std::vector<std::size_t> places; // of the nodes in the keys
};

} // namespace keyreap
