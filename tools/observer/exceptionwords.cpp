#include "tools/observer/exceptionwords.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace keyreap {

namespace {

struct CodeWords {
    std::uint32_t code;
    std::string_view words;
    bool isFault;
};

// Codes of the published headers, and of the run times of GCC and of Microsoft's compiler.
constexpr std::array codeWords = {
    CodeWords{0x80000002, "misaligned access", true},
    CodeWords{0x80000003, "breakpoint", true},
    CodeWords{0x80000004, "single step", true},
    CodeWords{0x80000100, "call of a function that a library lacks", false},
    CodeWords{0xC0000005, "access violation", true},
    CodeWords{0xC0000006, "failed paging", true},
    CodeWords{0xC0000008, "invalid handle", false},
    CodeWords{0xC0000017, "no memory", false},
    CodeWords{0xC000001D, "illegal instruction", true},
    CodeWords{0xC0000025, "exception that can't be continued", false},
    CodeWords{0xC000008C, "array bounds exceeded", true},
    CodeWords{0xC000008D, "floating-point denormal operand", true},
    CodeWords{0xC000008E, "floating-point division by zero", true},
    CodeWords{0xC000008F, "floating-point inexact result", true},
    CodeWords{0xC0000090, "floating-point invalid operation", true},
    CodeWords{0xC0000091, "floating-point overflow", true},
    CodeWords{0xC0000092, "floating-point stack check", true},
    CodeWords{0xC0000093, "floating-point underflow", true},
    CodeWords{0xC0000094, "integer division by zero", true},
    CodeWords{0xC0000095, "integer overflow", true},
    CodeWords{0xC0000096, "privileged instruction", true},
    CodeWords{0xC00000FD, "stack overflow", true},
    CodeWords{0xC0000374, "heap corruption", false},
    CodeWords{0xC0000409, "stack buffer overrun or fast fail", true},
    CodeWords{0x20474343, "C++ exception that nobody caught", false},
    CodeWords{0xE06D7363, "C++ exception that nobody caught", false},
};

const CodeWords* Find(std::uint32_t code) {
    const auto row = std::find_if(codeWords.begin(), codeWords.end(),
                                  [code](const CodeWords& words) { return words.code == code; });
    return row == codeWords.end() ? nullptr : &*row;
}

} // namespace

std::string ExceptionWords(std::uint32_t code) {
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "0x%08X", static_cast<unsigned>(code));
    const CodeWords* row = Find(code);
    return row ? std::string(row->words) + " (" + number.data() + ")"
               : std::string("exception ") + number.data();
}

bool IsFault(std::uint32_t code) {
    const CodeWords* row = Find(code);
    return row && row->isFault;
}

} // namespace keyreap
