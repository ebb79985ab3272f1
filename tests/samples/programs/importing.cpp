// A program that does nothing and imports modules of the system. Some of these write to the registry when
// Wine loads them.
#include <windows.h>

#include <commctrl.h>
#include <ole2.h>
#include <shlobj.h>
#include <wininet.h>
#include <winspool.h>

// The linker only keeps references that might be used.
int wmain(int count, wchar_t**) {
    if (count > 1000) {
        GetDesktopWindow();
        CoUninitialize();
        SysFreeString(nullptr);
        InitCommonControls();
        ILFree(nullptr);
        InternetCloseHandle(nullptr);
        ClosePrinter(nullptr);
    }
    return 0;
}
