#pragma once

#include "platform/core/text/compare.h"
#include "trace/replay/namerules.h"

namespace keyreap {

// Name rules for code that runs without Windows: they fold A to Z and nothing else.
class LetterFoldingNameRules : public NameRules {
public:
    void Fold(std::wstring& text) const override {
        for (wchar_t& unit : text) {
            unit = FoldLetter(unit);
        }
    }

    bool AreEqual(std::wstring_view left, std::wstring_view right) const override {
        return CompareFolded(left, right) == 0;
    }
};

} // namespace keyreap
