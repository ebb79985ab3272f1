// Writes one key and then causes the fault that KEYREAP_FAULT names.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace keyreap::samples {

namespace {

using Code = void (*)();

// Memory with this protection. It is never freed, because the process ends.
void* Memory(DWORD protection) {
    constexpr SIZE_T size = 4096;
    return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, protection);
}

void* Null() {
    // Volatile, because the compiler assumes that an access through a known null pointer never happens.
    static void* volatile null = nullptr;
    return null;
}

[[maybe_unused]] void ReadAt(const void* address) {
    static_cast<void>(*static_cast<const volatile int*>(address));
}

[[maybe_unused]] void WriteAt(void* address) {
    *static_cast<volatile int*>(address) = 1;
}

[[maybe_unused]] void ExecuteAt(void* address) {
    Code code = nullptr;
    std::memcpy(&code, &address, sizeof(code));
    code();
}

[[maybe_unused]] void ReadNull() {
    ReadAt(Null());
}

[[maybe_unused]] void WriteNull() {
    WriteAt(Null());
}

[[maybe_unused]] void ExecuteNull() {
    ExecuteAt(Null());
}

[[maybe_unused]] void ReadElsewhere() {
    ReadAt(Memory(PAGE_NOACCESS));
}

[[maybe_unused]] void WriteElsewhere() {
    WriteAt(Memory(PAGE_READONLY));
}

[[maybe_unused]] void ExecuteElsewhere() {
    ExecuteAt(Memory(PAGE_READWRITE));
}

[[maybe_unused]] void DivideByZero() {
    static volatile int zero = 0;
    static volatile int number = 1;
    number = number / zero;
}

// Runs two bytes of machine code.
[[maybe_unused]] void ExecuteBytes(BYTE first, BYTE second) {
    const BYTE code[] = {first, second};
    void* memory = Memory(PAGE_EXECUTE_READWRITE);
    std::memcpy(memory, code, sizeof(code));
    ExecuteAt(memory);
}

[[maybe_unused]] void IllegalInstruction() {
    ExecuteBytes(0x0F, 0x0B);
}

[[maybe_unused]] int OverflowStack(int depth) {
    static volatile bool endless = true;
    volatile char frame[1024] = {};
    frame[0] = static_cast<char>(depth);
    return endless ? OverflowStack(depth + 1) + frame[0] : 0;
}

[[maybe_unused]] void StackOverflow() {
    OverflowStack(0);
}

[[maybe_unused]] void Abort() {
    std::abort();
}

[[maybe_unused]] void Raise() {
    constexpr DWORD customCode = 0xE0000001;
    RaiseException(customCode, 0, 0, nullptr);
}

// What a run-time library does when it finds damaged memory: interrupt 0x29, which no exception handler sees.
[[maybe_unused]] void FailFast() {
    ExecuteBytes(0xCD, 0x29);
}

// The server calls a function of the system with an invalid address.
[[maybe_unused]] void ReadInSystem() {
    using Length = std::size_t(__cdecl*)(const char*);
    const auto length = reinterpret_cast<Length>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "strlen")));
    static volatile std::size_t size = length(static_cast<const char*>(Memory(PAGE_NOACCESS)));
    static_cast<void>(size);
}

[[maybe_unused]] void EndProcess() {
    ExitProcess(0);
}

[[maybe_unused]] void Throw() {
    throw std::runtime_error("nobody catches this");
}

} // namespace

} // namespace keyreap::samples

STDAPI DllRegisterServer() {
    keyreap::samples::KeyWriter(HKEY_CLASSES_ROOT, L"Keyreap.Fault")
        .SetText(L"", L"written before the fault");
    keyreap::samples::KEYREAP_FAULT();
    return S_OK;
}
