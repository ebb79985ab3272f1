// The library that the samples `neighbour` and `orphan` need: only the first one has it in its folder.
#include <windows.h>

extern "C" __declspec(dllexport) DWORD LibraryNumber() {
    return 42;
}

#ifdef KEYREAP_LATER
extern "C" __declspec(dllexport) DWORD LaterNumber() {
    return 43;
}
#endif
