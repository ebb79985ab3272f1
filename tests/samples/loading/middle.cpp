// The library that the sample `nested` needs. It needs a library itself that doesn't exist.
#include <windows.h>

extern "C" __declspec(dllimport) DWORD LibraryNumber();

extern "C" __declspec(dllexport) DWORD MiddleNumber() {
    return LibraryNumber();
}
