#include "platform/core/exceptiontranslation.h"

#include "platform/core/compiler.h"
#include "platform/core/exceptionhandling.h"
#include "platform/core/stacktrace/framelocation.h"
#include "platform/core/stacktrace/stacktrace.h"
#include "platform/core/structuredexceptions.h"

namespace keyreap {

namespace {

std::wstring FaultText(DWORD code, const EXCEPTION_RECORD& record) {
    const std::wstring_view name = StructuredExceptionName(code);
    std::wstring text(name.empty() ? L"Unknown SEH Exception" : name);
    return text + L" " + ExceptionCodeText(code) + L" at address " +
           AddressText(reinterpret_cast<std::uintptr_t>(record.ExceptionAddress)) + L"\r\n";
}

SehKind KindOf(DWORD code, const EXCEPTION_RECORD& record) {
    return ClassifyStructuredException(code, record.ExceptionInformation[0], record.ExceptionInformation[1]);
}

} // namespace

TopFrameLocation::TopFrameLocation(const CONTEXT* context) {
    std::wstring trace;
    AppendStackTrace(trace, context, 1);
    if (const auto location = FirstFrameLocation(trace)) {
        file = location->file;
        line = location->line;
    }
}

void TranslateStructuredException(unsigned int code, EXCEPTION_POINTERS* pointers) {
    if (!pointers) {
        throw SehException(L"exceptionhandling", 117, SehKind::SEH_GENERIC, L"Unidentified SEH Exception !");
    }
    if (IsCompilerExceptionCode(code)) {
        return;
    }
    std::wstring message = FaultText(code, *pointers->ExceptionRecord);
    AppendStackTrace(message, pointers->ContextRecord, maxPresentedFrames);
    const SehKind kind = KindOf(code, *pointers->ExceptionRecord);
    message = std::wstring(L"[").append(SehKindName(kind)).append(L"] ") + message;
    TopFrameLocation location(pointers->ContextRecord);
    throw SehException(location.file, location.line, kind, message);
}

bool InstallStructuredExceptionTranslator() {
    return SetThreadTranslator(TranslateStructuredException);
}

} // namespace keyreap
