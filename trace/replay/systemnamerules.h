#pragma once

#include "trace/replay/namerules.h"

namespace keyreap {

// The system's rules for names, by the user's locale: CharLowerW folds, lstrcmpiW compares.
class SystemNameRules : public NameRules {
public:
    void Fold(std::wstring& text) const override;
    bool AreEqual(std::wstring_view left, std::wstring_view right) const override;

private:
    // Copies with the terminators that the system needs. Kept, so that a comparison allocates nothing.
    mutable std::wstring leftText;
    mutable std::wstring rightText;
};

} // namespace keyreap
