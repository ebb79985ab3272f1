#include "platform/core/unhandledexception.h"

#include "platform/core/compiler.h"
#include "platform/core/exceptionkind.h"
#include "platform/core/failurepresentation.h"
#include "platform/core/filterstack.h"
#include "platform/core/message.h"
#include "platform/core/messageids.h"
#include "platform/core/stacktrace/stacktrace.h"
#include "platform/os/quietly.h"

#include <cstdint>
#include <string>

namespace keyreap {

namespace {

std::wstring FullText(std::wstring_view kindName, const EXCEPTION_POINTERS& pointers, bool withTrace) {
    const EXCEPTION_RECORD& record = *pointers.ExceptionRecord;
    std::wstring text = std::wstring(L"[").append(kindName).append(L"] ");
    text += ExceptionCodeText(record.ExceptionCode) + L" at address " +
            AddressText(reinterpret_cast<std::uintptr_t>(record.ExceptionAddress)) + L"\r\n";
    if (withTrace) {
        AppendStackTrace(text, pointers.ContextRecord, maxPresentedFrames);
    }
    return text;
}

void PresentUnhandled(const EXCEPTION_POINTERS& pointers) {
    FailurePresentation& presentation = FailurePresentation::OfProcess();
    const std::wstring kindName(ExceptionKindName(ExceptionKind::EXCEPTION_UNHANDLED));
    presentation.ShowFailure(nullptr, {LoadResourceString(messageid::unhandledFailure),
                                       FullText(kindName, pointers, !presentation.HasConsole()), kindName,
                                       L"platform\\core\\exceptionhandling"});
}

// The failure that the filter is presenting. Another failure on the same thread is one of the presentation.
struct Presented {
    DWORD thread = 0;
    DWORD code = 0;
};

void EndProcess(DWORD status) {
    TerminateProcess(GetCurrentProcess(), status);
}

} // namespace

LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers) {
    if (!pointers) {
        return EXCEPTION_EXECUTE_HANDLER;
    }
    static Presented presented;
    if (presented.thread == GetCurrentThreadId()) {
        // The presentation itself has failed, and would fail again each time.
        EndProcess(presented.code);
    }
    const DWORD code = pointers->ExceptionRecord->ExceptionCode;
    presented = {GetCurrentThreadId(), code};
    // The process ends with the failure's code in any case. An exception of the presentation must not take
    // its place.
    Quietly([pointers] { PresentUnhandled(*pointers); });
    presented = {};
    if (IsCompilerExceptionCode(code)) {
        // If the filter returned, the run time would unwind a stack that has no handler.
        EndProcess(code);
    }
    return EXCEPTION_EXECUTE_HANDLER;
}

void InstallUnhandledExceptionFilter() {
    KeepStackForFilter();
    static bool installed = false;
    if (!installed) {
        installed = true;
        SetUnhandledExceptionFilter(OnUnhandledException);
        FilterUncaughtExceptions(OnUnhandledException);
    }
}

} // namespace keyreap
