#include <windows.h>

// Usage: registerhost FILE
// Loads a server and calls its registration, with nothing round it. Status 0: it was called; 1: the file
// could not be loaded; 2: it has no registration; 3: no file was named. A fault ends the program with the
// fault's own code.

namespace {

LONG WINAPI EndWithItsCode(EXCEPTION_POINTERS* exception) {
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return 3;
    }
    SetUnhandledExceptionFilter(EndWithItsCode);
    const HMODULE module = LoadLibraryExW(arguments[1], nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) {
        return 1;
    }
    const FARPROC entry = GetProcAddress(module, "DllRegisterServer");
    if (entry == nullptr) {
        return 2;
    }
    reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(entry))();
    FreeLibrary(module);
    return 0;
}
