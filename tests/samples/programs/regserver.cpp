// A server in a process of its own: with /REGSERVER it writes its exact command line to the live registry and
// ends with 5, which its caller must ignore. Without the switch it does nothing.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <string_view>

int wmain(int count, wchar_t** arguments) {
    constexpr int ignoredStatus = 5;
    if (count != 2 || arguments[1] != std::wstring_view(L"/REGSERVER")) {
        return 0;
    }
    keyreap::samples::KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapRegServer")
        .SetText(L"command line", GetCommandLineW());
    return ignoredStatus;
}
