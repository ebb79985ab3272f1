// A program that does nothing and imports modules of the system, among them those that write to the registry
// under Wine when they are loaded.
#include <windows.h>

#include <commctrl.h>
#include <ole2.h>
#include <shlobj.h>
#include <wininet.h>
#include <winspool.h>

// The linker keeps a reference that might be used.
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
