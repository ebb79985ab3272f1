// A server that writes to a numbered control set.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

int wmain() {
    using keyreap::samples::KeyWriter;
    KeyWriter(HKEY_LOCAL_MACHINE, L"SYSTEM\\ControlSet001\\Services\\KeyreapNumbered")
        .SetText(L"", L"first set");
    KeyWriter(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\KeyreapServices\\Empty");
    return 0;
}
