// A program that does nothing itself: what it has done was its library.
#include <windows.h>

extern "C" __declspec(dllimport) DWORD LibraryNumber();

int wmain() {
    return static_cast<int>(LibraryNumber());
}
