// A server that creates a key in the machine's control set and writes no value there.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

int wmain() {
    keyreap::samples::KeyWriter(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\KeyreapServices");
    return 0;
}
