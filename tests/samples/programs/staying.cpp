// A program that knows no /REGSERVER: it tells that it runs, stays until it is told to end, and writes last
// that it did.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

int wmain() {
    HANDLE started = CreateEventW(nullptr, TRUE, FALSE, L"KeyreapStaying.Started");
    HANDLE end = CreateEventW(nullptr, TRUE, FALSE, L"KeyreapStaying.End");
    SetEvent(started);
    WaitForSingleObject(end, INFINITE);
    keyreap::samples::KeyWriter(HKEY_CURRENT_USER, L"Software\\KeyreapStaying")
        .SetText(L"", L"ended by itself");
    CloseHandle(end);
    CloseHandle(started);
    return 0;
}
