#pragma once

#include "regmodel/regentry.h"

#include <string>
#include <unordered_map>

namespace keyreap {

// What a captured file has of a key or of a value.
enum class InResult {
    Nothing,
    Itself,
    Filler,     // a value without its data
    OnlyBelow,  // of a key: no line of its own, but keys below it
    CapturesOwn // of a key: every harvest has it
};

// A captured file, searched by names. A to Z are folded.
class ResultIndex {
public:
    explicit ResultIndex(const RegDocument& document);

    InResult OfKey(const std::wstring& key) const;
    // An empty name is the default value's.
    InResult OfValue(const std::wstring& key, const std::wstring& name) const;

private:
    void AddAbove(std::wstring key);

    std::unordered_map<std::wstring, InResult> keys;
    std::unordered_map<std::wstring, InResult> values; // by key, NUL and name
};

} // namespace keyreap
