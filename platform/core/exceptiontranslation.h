#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace keyreap {

// The faulting frame's own source position, or a fixed place where it has none.
struct TopFrameLocation {
    explicit TopFrameLocation(const CONTEXT* context);

    std::wstring file = L"exceptionhandling";
    std::uint32_t line = 92;
};

// Throws a SehException for a structured exception: its message names the exception and holds a stack trace,
// its place is that of the faulting frame. Returns only for an exception of the compiler's own, which is a
// C++ exception on its way and stays one.
void TranslateStructuredException(unsigned int code, EXCEPTION_POINTERS* pointers);

// Installs the translator for the calling thread. False where the run time offers no such thing.
bool InstallStructuredExceptionTranslator();

} // namespace keyreap
