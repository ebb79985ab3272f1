#include "platform/core/text/compare.h"

#include <windows.h>

namespace keyreap {

int CompareNames(const wchar_t* left, const wchar_t* right) {
    return lstrcmpiW(left, right);
}

} // namespace keyreap
