// A server in a process of its own. With /REGSERVER it records the error mode that it inherited.
#include "tests/samples/support/errormode.h"
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <string_view>

int wmain(int count, wchar_t** arguments) {
    if (count != 2 || arguments[1] != std::wstring_view(L"/REGSERVER")) {
        return 1;
    }
    keyreap::samples::KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapInheriting")
        .SetDword(L"error mode", keyreap::samples::BoxesInErrorMode());
    return 0;
}
