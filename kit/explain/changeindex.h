#pragma once

#include "kit/explain/story.h"

#include <cstddef>
#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace keyreap {

// True for an operation that makes, changes or removes something if it succeeds. The creation of a key that
// existed counts.
bool IsChange(const StoryOperation& operation);

// True if it also succeeded.
bool HasChanged(const StoryOperation& operation);

// Finds the changes of a story by key and value. Keys are distinguished by their real paths.
class ChangeIndex {
public:
    // Of the operations for which `counts` is true. They outlive the index.
    ChangeIndex(const std::vector<StoryOperation>& operations,
                const std::function<bool(const StoryOperation&)>& counts);

    // The first change after the operation that undoes it: of an operation on a value another change of the
    // value; of any the removal or renaming of the key or of one above. noIndex if there is none.
    std::size_t Next(std::size_t operation) const;
    // Whether the key or the value that the operation asked for is created or set after it.
    bool IsMadeAfter(std::size_t operation) const;
    // The last change of the same value, or creation of the same key, ahead of the operation.
    std::size_t Previous(std::size_t operation) const;

    // Whether there is a change of the key, or of a value of it.
    bool Touches(const std::wstring& keyPath) const { return touched.contains(Folded(keyPath)); }

private:
    using Indices = std::vector<std::size_t>;

    static std::wstring Folded(const std::wstring& path);
    static std::wstring ValueKey(const StoryOperation& operation);
    static const Indices* Find(const std::unordered_map<std::wstring, Indices>& map, const std::wstring& key);
    static std::size_t FirstAfter(const Indices* list, std::size_t operation);

    const std::vector<StoryOperation>& operations;
    std::unordered_map<std::wstring, Indices> values;   // changes of a value
    std::unordered_map<std::wstring, Indices> keys;     // creations of a key
    std::unordered_map<std::wstring, Indices> removals; // removals and renamings of a key
    std::unordered_set<std::wstring> touched;
};

} // namespace keyreap
