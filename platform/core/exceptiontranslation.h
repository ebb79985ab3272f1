#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace keyreap {

// The source position of the faulting frame, or a fixed position if the frame has none.
struct TopFrameLocation {
    explicit TopFrameLocation(const CONTEXT* context);

    std::wstring file = L"exceptionhandling";
    std::uint32_t line = 92;
};

// Throws a SehException for a structured exception. Its message names the exception and contains a stack
// trace; its position is that of the faulting frame. Returns only for a code with which the compiler's run
// time throws a C++ exception, which stays one.
void TranslateStructuredException(unsigned int code, EXCEPTION_POINTERS* pointers);

// Installs the translator for the calling thread. False if the run time has no translators.
bool InstallStructuredExceptionTranslator();

} // namespace keyreap
