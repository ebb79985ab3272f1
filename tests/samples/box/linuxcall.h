// The system calls of the Linux kernel below Wine, made as they are: past Wine, which would translate paths
// and keep its own books. The only header of the samples with inline assembly, since neither bitness has a
// function for it.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

namespace keyreap::samples::box {

// A register of 64 bits. In a 32-bit process, too, the calls are those of 64 bits: all code can change to
// that mode, and a host may refuse the calls of 32 bits.
using Word = std::int64_t;

enum class System : Word {
    Read = 0,
    Write = 1,
    Open = 2,
    Close = 3,
    Map = 9,
    ReadAt = 17,
    Socket = 41,
    Connect = 42,
    SharedMemory = 29,
    AttachMemory = 30,
    DetachMemory = 67,
    Sleep = 35,
    Alarm = 37,
    ProcessId = 39,
    Clone = 56,
    Execute = 59,
    Wait = 61,
    Kill = 62,
    Rename = 82,
    HardLink = 86,
    Remove = 87,
    SymbolicLink = 88,
    ChangeMode = 90,
    Trace = 101,
    NewSession = 112,
    MakeNode = 133,
    ControlProcess = 157,
    ChangeRoot = 161,
    Mount = 165,
    SignalAction = 13,
    ControlDevice = 16,
    Entries = 217,
    End = 231,
    Keys = 250,
    OpenBelow = 257,
    Unshare = 272,
    Pipe = 293,
    NameToHandle = 303,
    OpenByHandle = 304,
    Enter = 308,
    ReadMemoryOf = 310,
    MemoryFile = 319,
    OpenProcess = 434,
    CloseAll = 436,
    BorrowDescriptor = 438,
};

constexpr std::size_t registers = 7;

// `words` are the number of the call and its six arguments. Gives the result, or an error's number below
// zero.
inline Word EnterKernel(const Word* words) {
    Word result = static_cast<Word>(reinterpret_cast<std::uintptr_t>(words));
#ifdef _WIN64
    asm volatile("movq 8(%%rax), %%rdi\n\t"
                 "movq 16(%%rax), %%rsi\n\t"
                 "movq 24(%%rax), %%rdx\n\t"
                 "movq 32(%%rax), %%r10\n\t"
                 "movq 40(%%rax), %%r8\n\t"
                 "movq 48(%%rax), %%r9\n\t"
                 "movq (%%rax), %%rax\n\t"
                 "syscall"
                 : "+a"(result)
                 :
                 : "rdi", "rsi", "rdx", "r10", "r8", "r9", "rcx", "r11", "memory", "cc");
#else
    // The assembler of 32-bit code has no instructions of 64 bits, so these are bytes. 0x33 and 0x23 are
    // Linux' segments of code of both modes.
    asm volatile("pushl %%ebx\n\t"
                 "pushl %%esi\n\t"
                 "pushl %%edi\n\t"
                 "ljmp $0x33, $1f\n"
                 "1:\n\t"
                 ".byte 0x48, 0x8b, 0x78, 0x08\n\t" // mov 8(%rax), %rdi
                 ".byte 0x48, 0x8b, 0x70, 0x10\n\t" // mov 16(%rax), %rsi
                 ".byte 0x48, 0x8b, 0x50, 0x18\n\t" // mov 24(%rax), %rdx
                 ".byte 0x4c, 0x8b, 0x50, 0x20\n\t" // mov 32(%rax), %r10
                 ".byte 0x4c, 0x8b, 0x40, 0x28\n\t" // mov 40(%rax), %r8
                 ".byte 0x4c, 0x8b, 0x48, 0x30\n\t" // mov 48(%rax), %r9
                 ".byte 0x48, 0x8b, 0x00\n\t"       // mov (%rax), %rax
                 ".byte 0x0f, 0x05\n\t"             // syscall
                 ".byte 0x48, 0x89, 0xc2\n\t"       // mov %rax, %rdx
                 ".byte 0x48, 0xc1, 0xea, 0x20\n\t" // shr $32, %rdx
                 ".byte 0x6a, 0x23\n\t"             // push $0x23
                 ".byte 0x68\n\t"                   // push the address
                 ".long 2f\n\t"
                 ".byte 0x48, 0xcb\n" // lretq
                 "2:\n\t"
                 "popl %%edi\n\t"
                 "popl %%esi\n\t"
                 "popl %%ebx"
                 : "+A"(result)
                 :
                 : "ecx", "memory", "cc");
#endif
    return result;
}

// A call of 32 bits, with the numbers of that interface, which a filter of the other calls may have
// forgotten.
inline int CallOf32Bits(int number, int first, int second, int third) {
    int result = number;
#ifdef _WIN64
    asm volatile("int $0x80"
                 : "+a"(result)
                 : "b"(first), "c"(second), "d"(third)
                 : "r8", "r9", "r10", "r11", "memory", "cc");
#else
    asm volatile("int $0x80" : "+a"(result) : "b"(first), "c"(second), "d"(third) : "memory", "cc");
#endif
    return result;
}

template <std::integral Argument>
Word WordOf(Argument argument) {
    return static_cast<Word>(argument);
}

inline Word WordOf(const void* argument) {
    return static_cast<Word>(reinterpret_cast<std::uintptr_t>(argument));
}

template <typename... Arguments>
Word Call(System call, Arguments... arguments) {
    const Word words[registers] = {static_cast<Word>(call), WordOf(arguments)...};
    return EnterKernel(words);
}

// 0 in the copy of the process, which is made as the C library does it.
inline Word ForkProcess() {
    constexpr int signalOfChild = 17;
    return Call(System::Clone, signalOfChild, 0, 0, 0, 0);
}

} // namespace keyreap::samples::box
