#include "extract/startmodules.h"

#include <windows.h>

#include <commctrl.h>

namespace keyreap {

void LoadStartModules() {
    const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_BAR_CLASSES | ICC_DATE_CLASSES |
                                                              ICC_USEREX_CLASSES | ICC_COOL_CLASSES |
                                                              ICC_INTERNET_CLASSES};
    InitCommonControlsEx(&controls);
    LoadLibraryW(L"IPHLPAPI.DLL");
    LoadLibraryW(L"MPR.DLL");
}

} // namespace keyreap
