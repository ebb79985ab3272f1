#include <windows.h>

// Usage: loaderror FILE
// Loads a server as the program does. The exit status is the system's error: 0 if the server could be loaded,
// -1 if no file was named.
int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return -1;
    }
    const HMODULE module = LoadLibraryExW(arguments[1], nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    return module == nullptr ? static_cast<int>(GetLastError()) : 0;
}
