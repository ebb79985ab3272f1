#include "extract/errormode.h"

#include <windows.h>

namespace keyreap {

void SuppressErrorBoxes() {
    SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
}

} // namespace keyreap
