#pragma once

#include <string>
#include <string_view>

namespace keyreap {

// The rules by which the operation log compares registry names. The system's rules are SystemNameRules.
class NameRules {
public:
    virtual ~NameRules() = default;

    // Folds the case of every unit in place, without a change of the length.
    virtual void Fold(std::wstring& text) const = 0;

    // True if the names are the same. Called only for names whose folded forms have the same hash.
    virtual bool AreEqual(std::wstring_view left, std::wstring_view right) const = 0;
};

} // namespace keyreap
