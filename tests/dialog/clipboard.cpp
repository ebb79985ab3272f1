#include "tests/dialog/clipboard.h"

#include <windows.h>

namespace keyreap::testsupport {

std::wstring ClipboardText() {
    std::wstring text;
    if (OpenClipboard(nullptr)) {
        if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
            text = static_cast<const wchar_t*>(GlobalLock(data));
            GlobalUnlock(data);
        }
        CloseClipboard();
    }
    return text;
}

} // namespace keyreap::testsupport
