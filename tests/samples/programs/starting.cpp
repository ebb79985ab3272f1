// A program that does nothing itself: only its library writes to the registry.
#include <windows.h>

extern "C" __declspec(dllimport) DWORD LibraryNumber();

int wmain() {
    return static_cast<int>(LibraryNumber());
}
