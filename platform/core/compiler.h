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

} // namespace keyreap
