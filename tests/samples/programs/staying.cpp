// A program that ignores /REGSERVER: it signals that it runs, waits until a test lets it end, and finally
// writes a key.
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
