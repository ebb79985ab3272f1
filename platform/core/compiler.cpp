#include "platform/core/compiler.h"

#if defined(_MSC_VER)
#include <eh.h>
#else
#include "platform/os/entrypoint.h"

#include <cstdlib>
#include <exception>
#endif

namespace keyreap {

#if defined(_MSC_VER)

bool IsCompilerExceptionCode(DWORD) {
    return false;
}

bool SetThreadTranslator(StructuredExceptionTranslator translator) {
    _set_se_translator(translator);
    return true;
}

void FilterUncaughtExceptions(LPTOP_LEVEL_EXCEPTION_FILTER) {}

#else

namespace {

// The codes that libgcc raises: a throw, an unwind, a forced unwind.
constexpr DWORD throwCode = 0x20474343;
constexpr DWORD unwindCode = 0x21474343;
constexpr DWORD forcedUnwindCode = 0x22474343;

// msvcrt.dll exports it only under its decorated name.
#if defined(_WIN64)
constexpr char setTranslatorName[] = "?_set_se_translator@@YAP6AXIPEAU_EXCEPTION_POINTERS@@@ZP6AXI0@Z@Z";
#else
constexpr char setTranslatorName[] = "?_set_se_translator@@YAP6AXIPAU_EXCEPTION_POINTERS@@@ZP6AXI0@Z@Z";
#endif

using SetTranslatorEntry = StructuredExceptionTranslator(__cdecl*)(StructuredExceptionTranslator);

LPTOP_LEVEL_EXCEPTION_FILTER uncaughtFilter = nullptr;

// Where the run time finds no handler, it calls this without raising anything, so the filter's argument must
// be made here.
[[noreturn]] void OnTerminate() {
    if (std::current_exception()) {
        CONTEXT context = {};
        RtlCaptureContext(&context);
        EXCEPTION_RECORD record = {};
        record.ExceptionCode = throwCode;
        record.ExceptionAddress = __builtin_return_address(0);
        EXCEPTION_POINTERS pointers = {&record, &context};
        uncaughtFilter(&pointers);
    }
    std::abort();
}

} // namespace

bool IsCompilerExceptionCode(DWORD code) {
    return code == throwCode || code == unwindCode || code == forcedUnwindCode;
}

bool SetThreadTranslator(StructuredExceptionTranslator translator) {
    const auto setTranslator =
        FindEntryPoint<SetTranslatorEntry>(GetModuleHandleW(L"msvcrt.dll"), setTranslatorName);
    if (!setTranslator) {
        return false;
    }
    setTranslator(translator);
    return true;
}

void FilterUncaughtExceptions(LPTOP_LEVEL_EXCEPTION_FILTER filter) {
    uncaughtFilter = filter;
    std::set_terminate(OnTerminate);
}

#endif

} // namespace keyreap
