#include "trace/replay/systemnamerules.h"

#include "platform/core/text/compare.h"

#include <windows.h>

namespace keyreap {

void SystemNameRules::Fold(std::wstring& text) const {
    CharLowerW(text.data());
}

bool SystemNameRules::AreEqual(std::wstring_view left, std::wstring_view right) const {
    leftText.assign(left);
    rightText.assign(right);
    return CompareNames(leftText.c_str(), rightText.c_str()) == 0;
}

} // namespace keyreap
