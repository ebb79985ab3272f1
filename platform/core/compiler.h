#pragma once

#include <windows.h>

#include <comdef.h>

#if defined(_MSC_VER) && __has_include(<atlexcept.h>)
#include <atlexcept.h>
#endif

// What differs by compiler, and nowhere else.

#if defined(_MSC_VER)
// Exported by the C++ run time of this compiler.
extern "C" void** __cdecl __current_exception_context();
#endif

namespace keyreap {

#if defined(_MSC_VER) && __has_include(<atlexcept.h>)
using ATL::CAtlException;
#else
// Stands in for ATL's exception where there is no ATL: it carries one HRESULT.
class CAtlException {
public:
    explicit CAtlException(HRESULT result) noexcept : m_hr(result) {}
    operator HRESULT() const noexcept { return m_hr; }

    HRESULT m_hr;
};
#endif

// The processor context of the exception that the calling thread is handling, or null where the compiler's
// run time keeps none: MinGW's has unwound the stack by the time that a handler runs.
inline const CONTEXT* HandledExceptionContext() {
#if defined(_MSC_VER)
    return static_cast<const CONTEXT*>(*__current_exception_context());
#else
    return nullptr;
#endif
}

// Whether a structured exception is how the compiler's run time throws a C++ exception, and one that the
// system's own end of the process would not end well: never with MSVC.
bool IsCompilerExceptionCode(DWORD code);

// What a run time calls for a structured exception on its way to a frame with a catch clause.
using StructuredExceptionTranslator = void(__cdecl*)(unsigned int code, EXCEPTION_POINTERS* pointers);

// Sets the calling thread's translator. MinGW's own run time has none, but programs and libraries that use
// the system's msvcrt.dll share that one's. False where there is nothing to set it in.
bool SetThreadTranslator(StructuredExceptionTranslator translator);

// Hands C++ exceptions that nobody catches to the filter in those run times that end the process without
// asking it.
void FilterUncaughtExceptions(LPTOP_LEVEL_EXCEPTION_FILTER filter);

} // namespace keyreap
