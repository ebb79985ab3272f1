#pragma once

#include <windows.h>

#include <comdef.h>

#if defined(_MSC_VER) && __has_include(<atlexcept.h>)
#include <atlexcept.h>
#endif

// Everything that differs by compiler is in this room's compiler.h and compiler.cpp.

#if defined(_MSC_VER)
// Exported by the C++ run time of this compiler.
extern "C" void** __cdecl __current_exception_context();
#endif

namespace keyreap {

#if defined(_MSC_VER) && __has_include(<atlexcept.h>)
using ATL::CAtlException;
#else
// Replaces ATL's exception where there is no ATL: it carries one HRESULT.
class CAtlException {
public:
    explicit CAtlException(HRESULT result) noexcept : m_hr(result) {}
    operator HRESULT() const noexcept { return m_hr; }

    HRESULT m_hr;
};
#endif

// The processor context of the exception that the calling thread is handling, or null if the compiler's run
// time doesn't keep it: MinGW's has unwound the stack before a handler runs.
inline const CONTEXT* HandledExceptionContext() {
#if defined(_MSC_VER)
    return static_cast<const CONTEXT*>(*__current_exception_context());
#else
    return nullptr;
#endif
}

// True if the compiler's run time throws a C++ exception as a structured exception of this code, and the
// system would not end the process properly for it. Never with MSVC.
bool IsCompilerExceptionCode(DWORD code);

// A run time calls this for a structured exception before a frame with a catch clause gets it.
using StructuredExceptionTranslator = void(__cdecl*)(unsigned int code, EXCEPTION_POINTERS* pointers);

// Sets the calling thread's translator. MinGW's own run time has none, but programs and libraries that use
// the system's msvcrt.dll share the translator of that DLL. False if there is no run time to set it in.
bool SetThreadTranslator(StructuredExceptionTranslator translator);

// Passes uncaught C++ exceptions to the filter in those run times that end the process without calling it.
void FilterUncaughtExceptions(LPTOP_LEVEL_EXCEPTION_FILTER filter);

} // namespace keyreap
