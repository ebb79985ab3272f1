#include "extract/extractcommand.h"
#include "platform/core/osversion.h"

#include <windows.h>

#include <commctrl.h>

#include <cwchar>

namespace {

constexpr int noVerb = -1;

void PrepareProcess() {
    const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_BAR_CLASSES | ICC_DATE_CLASSES |
                                                              ICC_USEREX_CLASSES | ICC_COOL_CLASSES |
                                                              ICC_INTERNET_CLASSES};
    InitCommonControlsEx(&controls);
    // Loaded for the life of the process, so that neither is ever loaded while the roots are redirected.
    LoadLibraryW(L"IPHLPAPI.DLL");
    LoadLibraryW(L"MPR.DLL");
    // Read now: while HKEY_LOCAL_MACHINE is redirected, a first read would see the temporary tree.
    keyreap::RunningVersion();
    keyreap::VistaVersion();
}

} // namespace

int wmain(int argumentCount, wchar_t* arguments[]) {
    PrepareProcess();
    if (argumentCount < 2) {
        return noVerb;
    }
    // Another verb, in another case too, is no failure: nothing is done.
    if (std::wcscmp(arguments[1], L"extreg") != 0) {
        return 0;
    }
    const keyreap::ExtractCommand command({arguments + 2, static_cast<std::size_t>(argumentCount - 2)});
    const int status = command.RegisterNativeFiles();
    return status == 0 ? command.RunCompanion() : status;
}
