#pragma once

#include <string>
#include <string_view>

namespace keyreap {

// What makes two registry names the same to the operation log. The system's rules are SystemNameRules.
class NameRules {
public:
    virtual ~NameRules() = default;

    // Folds the case of every unit in place; the length stays.
    virtual void Fold(std::wstring& text) const = 0;

    // True if the names are the same. Asked only for names whose folded forms have one hash.
    virtual bool AreEqual(std::wstring_view left, std::wstring_view right) const = 0;
};

} // namespace keyreap
