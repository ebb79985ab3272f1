#include <windows.h>

#include <string>

// Usage: registerhost FILE
// Lets a file register itself, with nothing round it: a server is loaded and its registration called, and
// what is none is started as a program with /REGSERVER. Status 0: it was called; 1: the file can't be loaded
// or has no registration; 3: no file was named. A fault ends the program with the fault's own code.

namespace {

LONG WINAPI EndWithItsCode(EXCEPTION_POINTERS* exception) {
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

bool CallRegistration(const wchar_t* file) {
    const HMODULE module = LoadLibraryExW(file, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    const FARPROC entry = module != nullptr ? GetProcAddress(module, "DllRegisterServer") : nullptr;
    if (entry == nullptr) {
        return false;
    }
    reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(entry))();
    FreeLibrary(module);
    return true;
}

void RunAsProgram(const std::wstring& file) {
    std::wstring commandLine = L"\"" + file + L"\" /REGSERVER";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &started)) {
        WaitForSingleObject(started.hProcess, INFINITE);
    }
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return 3;
    }
    SetUnhandledExceptionFilter(EndWithItsCode);
    if (CallRegistration(arguments[1])) {
        return 0;
    }
    RunAsProgram(arguments[1]);
    return 1;
}
