// What the samples `neighbour` and `orphan` need to load: the first has it beside itself, the second has not.
#include <windows.h>

extern "C" __declspec(dllexport) DWORD LibraryNumber() {
    return 42;
}

#ifdef KEYREAP_LATER
extern "C" __declspec(dllexport) DWORD LaterNumber() {
    return 43;
}
#endif
