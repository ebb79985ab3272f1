// What the samples `neighbour` and `orphan` need to load: the first has it beside itself, the second has not.
#include <windows.h>

extern "C" __declspec(dllexport) DWORD LibraryNumber() {
    return 42;
}
