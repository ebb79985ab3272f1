// Stands between the sample `nested` and the library that neither of them has.
#include <windows.h>

extern "C" __declspec(dllimport) DWORD LibraryNumber();

extern "C" __declspec(dllexport) DWORD MiddleNumber() {
    return LibraryNumber();
}
