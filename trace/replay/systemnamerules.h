#pragma once

#include "trace/replay/namerules.h"

namespace keyreap {

// The registry's own idea of a name, by the rules of the user's locale: CharLowerW folds, lstrcmpiW compares.
class SystemNameRules : public NameRules {
public:
    void Fold(std::wstring& text) const override;
    bool AreEqual(std::wstring_view left, std::wstring_view right) const override;

private:
    // With the terminators that the system needs; kept, so that a comparison allocates nothing.
    mutable std::wstring leftText;
    mutable std::wstring rightText;
};

} // namespace keyreap
