#include "tests/support/untabledcall.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace keyreap::testsupport {

namespace {

#if defined(_WIN64)
constexpr std::array<unsigned char, 17> instructions = {
    0x48, 0x83, 0xEC, 0x28, // sub rsp, 40
    0x48, 0x89, 0xC8,       // mov rax, rcx
    0x48, 0x89, 0xD1,       // mov rcx, rdx
    0xFF, 0xD0,             // call rax
    0x48, 0x83, 0xC4, 0x28, // add rsp, 40
    0xC3,                   // ret
};
#else
constexpr std::array<unsigned char, 11> instructions = {
    0x55,             // push ebp
    0x89, 0xE5,       // mov ebp, esp
    0xFF, 0x75, 0x0C, // push dword ptr [ebp + 12]
    0xFF, 0x55, 0x08, // call dword ptr [ebp + 8], which takes its argument off the stack
    0x5D,             // pop ebp
    0xC3,             // ret
};
#endif

} // namespace

UntabledCall::UntabledCall()
    : code(VirtualAlloc(nullptr, instructions.size(), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE)) {
    std::memcpy(code, instructions.data(), instructions.size());
    DWORD before = 0;
    EXPECT_TRUE(VirtualProtect(code, instructions.size(), PAGE_EXECUTE_READ, &before));
}

UntabledCall::~UntabledCall() {
    VirtualFree(code, 0, MEM_RELEASE);
}

ULONG UntabledCall::Call(const void* function, void* argument) const {
    return reinterpret_cast<ULONG(__cdecl*)(const void*, void*)>(code)(function, argument);
}

} // namespace keyreap::testsupport
