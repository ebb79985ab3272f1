#include <windows.h>

#include <string>

// Usage: registerhost FILE [moved]
// Lets a file register itself, without a capture: loads a server and calls its registration, or starts the
// file as a program with /REGSERVER if that is impossible. Status 0: the registration was called; 1: the file
// can't be loaded or has no registration; 3: no file was named. A fault ends the program with the fault's
// code. With `moved` the preferred address of the file is occupied, so that the system has to load it at
// another one.

namespace {

LONG WINAPI EndWithCodeOf(EXCEPTION_POINTERS* exception) {
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

// The address that the file asks for, or 0 if that can't be read. In a damaged file the second header may be
// anywhere.
ULONG_PTR PreferredAddress(const wchar_t* file) {
    IMAGE_DOS_HEADER start{};
    IMAGE_NT_HEADERS headers{};
    DWORD read = 0;
    const HANDLE handle = CreateFileW(file, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool whole =
        ReadFile(handle, &start, sizeof(start), &read, nullptr) && read == sizeof(start) &&
        SetFilePointer(handle, start.e_lfanew, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
        ReadFile(handle, &headers, sizeof(headers), &read, nullptr) && read == sizeof(headers);
    CloseHandle(handle);
    return whole ? headers.OptionalHeader.ImageBase : 0;
}

void Occupy(ULONG_PTR address) {
    if (address != 0) {
        // This fails only if the address is already occupied.
        VirtualAlloc(reinterpret_cast<void*>(address), 1, MEM_RESERVE, PAGE_NOACCESS);
    }
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
    const bool moved = count == 3 && std::wstring(arguments[2]) == L"moved";
    if (count != 2 && !moved) {
        return 3;
    }
    if (moved) {
        Occupy(PreferredAddress(arguments[1]));
    }
    SetUnhandledExceptionFilter(EndWithCodeOf);
    if (CallRegistration(arguments[1])) {
        return 0;
    }
    RunAsProgram(arguments[1]);
    return 1;
}
