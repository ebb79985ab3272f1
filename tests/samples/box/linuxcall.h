// The system calls of the Linux kernel below Wine, made as they are: past Wine, which would translate paths
// and keep its own books. The only header of the samples with inline assembly, since neither bitness has a
// function for it.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

namespace keyreap::samples::box {

// A register.
using Word = std::intptr_t;

constexpr bool is64 = sizeof(Word) == 8;

constexpr Word Number(Word of64, Word of32) {
    return is64 ? of64 : of32;
}

enum class System : Word {
    Read = Number(0, 3),
    Write = Number(1, 4),
    Open = Number(2, 5),
    Close = Number(3, 6),
    Map = Number(9, 192),
    ReadAt = Number(17, 180),
    Socket = Number(41, 359),
    Connect = Number(42, 362),
    SharedMemory = Number(29, 395),
    AttachMemory = Number(30, 397),
    DetachMemory = Number(67, 398),
    Sleep = Number(35, 162),
    Alarm = Number(37, 27),
    ProcessId = Number(39, 20),
    Fork = Number(57, 2),
    Execute = Number(59, 11),
    Wait = Number(61, 114),
    Kill = Number(62, 37),
    Rename = Number(82, 38),
    HardLink = Number(86, 9),
    Remove = Number(87, 10),
    SymbolicLink = Number(88, 83),
    ChangeMode = Number(90, 15),
    Trace = Number(101, 26),
    NewSession = Number(112, 66),
    MakeNode = Number(133, 14),
    ControlProcess = Number(157, 172),
    ChangeRoot = Number(161, 61),
    Mount = Number(165, 21),
    SignalAction = Number(13, 174),
    ControlDevice = Number(16, 54),
    Entries = Number(217, 220),
    End = Number(231, 252),
    Keys = Number(250, 288),
    OpenBelow = Number(257, 295),
    Unshare = Number(272, 310),
    Pipe = Number(293, 331),
    NameToHandle = Number(303, 341),
    OpenByHandle = Number(304, 342),
    Enter = Number(308, 346),
    ReadMemoryOf = Number(310, 347),
    MemoryFile = Number(319, 356),
    OpenProcess = Number(434, 434),
    CloseAll = Number(436, 436),
    BorrowDescriptor = Number(438, 438),
};

constexpr std::size_t registers = 7;

// `words` are the number of the call and its six arguments. Gives the result, or an error's number below
// zero.
inline Word EnterKernel(const Word* words) {
    Word result = reinterpret_cast<Word>(words);
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
    asm volatile("pushl %%ebp\n\t"
                 "pushl %%ebx\n\t"
                 "pushl %%esi\n\t"
                 "pushl %%edi\n\t"
                 "movl 4(%%eax), %%ebx\n\t"
                 "movl 8(%%eax), %%ecx\n\t"
                 "movl 12(%%eax), %%edx\n\t"
                 "movl 16(%%eax), %%esi\n\t"
                 "movl 20(%%eax), %%edi\n\t"
                 "movl 24(%%eax), %%ebp\n\t"
                 "movl (%%eax), %%eax\n\t"
                 "int $0x80\n\t"
                 "popl %%edi\n\t"
                 "popl %%esi\n\t"
                 "popl %%ebx\n\t"
                 "popl %%ebp"
                 : "+a"(result)
                 :
                 : "ecx", "edx", "memory", "cc");
#endif
    return result;
}

template <std::integral Argument>
Word WordOf(Argument argument) {
    return static_cast<Word>(argument);
}

inline Word WordOf(const void* argument) {
    return reinterpret_cast<Word>(argument);
}

template <typename... Arguments>
Word Call(System call, Arguments... arguments) {
    const Word words[registers] = {static_cast<Word>(call), WordOf(arguments)...};
    return EnterKernel(words);
}

} // namespace keyreap::samples::box
