#include "platform/core/exceptionhandling.h"

#include "platform/core/compiler.h"
#include "platform/core/exceptionpresenter.h"
#include "platform/core/message.h"
#include "platform/core/stacktrace/stacktrace.h"
#include "platform/core/text/bstrtext.h"
#include "platform/core/text/text.h"
#include "platform/os/ownedinterface.h"

#include <exception>
#include <string_view>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view compositionFailed =
    L"An exception was thrown while composing the exception message.";

// Catches everything that a composition throws: reporting a failure must not end the program.
template <typename Compose>
void ComposeMessage(std::wstring& message, Compose compose) {
    try {
        compose();
    } catch (...) {
        try {
            message = compositionFailed;
        } catch (...) {
            // There is no memory for that text either, so the message stays empty.
            message.clear();
        }
    }
}

std::wstring ErrorDescription(const _com_error& error) {
    const OwnedInterface<IErrorInfo> errorInfo(error.ErrorInfo());
    BSTR text = nullptr;
    if (!errorInfo.Valid() || FAILED(errorInfo.Get()->GetDescription(&text))) {
        return {};
    }
    return BstrText(OwnedBstr(text).Get());
}

void AppendHandledExceptionTrace(std::wstring& text) {
    if (const CONTEXT* context = HandledExceptionContext()) {
        AppendStackTrace(text, context, maxPresentedFrames);
    } else if (std::current_exception()) {
        CONTEXT handlerContext{};
        RtlCaptureContext(&handlerContext);
        AppendStackTrace(text, &handlerContext, maxPresentedFrames);
    }
}

} // namespace

Exception::Exception(std::wstring sourceFile, std::uint32_t sourceLine)
    : sourceFile(std::move(sourceFile)), sourceLine(sourceLine) {}

Exception::Exception(std::wstring sourceFile, std::uint32_t sourceLine, std::wstring message)
    : message(std::move(message)), sourceFile(std::move(sourceFile)), sourceLine(sourceLine) {}

Exception::Exception(std::wstring sourceFile, std::uint32_t sourceLine, std::uint32_t messageId,
                     const std::vector<std::wstring>& inserts)
    : Exception(std::move(sourceFile), sourceLine) {
    ComposeMessage(message, [&] { message = FormatResourceString(messageId, inserts); });
}

void Exception::Rethrow() const {
    throw Exception(*this);
}

std::unique_ptr<Exception> Exception::Clone(bool withStackTrace) const {
    // The clone of a plain exception has the default code, even if the exception was copied from one with
    // another code.
    return std::make_unique<Exception>(sourceFile, sourceLine, ClonedMessage(withStackTrace));
}

ExceptionKind Exception::GetKind() const {
    return ExceptionKind::EXCEPTION_GENERIC;
}

std::wstring Exception::GetKindName() const {
    return std::wstring(ExceptionKindName(GetKind()));
}

ExceptionPresenter& Exception::GetPresenter() const {
    static ExceptionPresenter presenter;
    return presenter;
}

std::wstring Exception::ClonedMessage(bool withStackTrace) const {
    std::wstring text = message;
    if (withStackTrace && !HoldsStackTrace(text)) {
        std::wstring trace;
        AppendHandledExceptionTrace(trace);
        text += trace;
    }
    return text;
}

WindowsException::WindowsException(std::wstring sourceFile, std::uint32_t sourceLine)
    : Exception(std::move(sourceFile), sourceLine) {}

void WindowsException::Rethrow() const {
    throw WindowsException(*this);
}

std::unique_ptr<Exception> WindowsException::Clone(bool withStackTrace) const {
    auto clone = std::make_unique<WindowsException>(sourceFile, sourceLine);
    clone->message = ClonedMessage(withStackTrace);
    clone->errorCode = errorCode;
    return clone;
}

ExceptionKind WindowsException::GetKind() const {
    return ExceptionKind::EXCEPTION_WIN32;
}

void WindowsException::SetWin32Error(std::uint32_t code) {
    errorCode = code;
    ComposeMessage(message, [&] {
        // The system's text keeps the blank at its end, inside the quotes.
        message = L"Win32 Error [" + IntegerToText(code) + L"]: \"" + GetSystemErrorText(code) + L"\"";
    });
}

void WindowsException::SetComError(const _com_error& error) {
    ComposeMessage(message, [&] {
        const auto code = static_cast<std::uint32_t>(error.Error());
        const std::wstring description = ErrorDescription(error);
        if (description.empty()) {
            SetWin32Error(code);
            return;
        }
        errorCode = code;
        message = L"Win32 COM Error [" + IntegerToText(code) + L"]: { " + description + L" }";
    });
}

SehException::SehException(std::wstring sourceFile, std::uint32_t sourceLine, SehKind kind,
                           std::wstring message)
    : Exception(std::move(sourceFile), sourceLine, std::move(message)), sehKind(kind) {}

void SehException::Rethrow() const {
    throw SehException(*this);
}

std::unique_ptr<Exception> SehException::Clone(bool withStackTrace) const {
    return std::make_unique<SehException>(sourceFile, sourceLine, sehKind, ClonedMessage(withStackTrace));
}

ExceptionKind SehException::GetKind() const {
    return ExceptionKind::EXCEPTION_SEH;
}

std::wstring SehException::GetKindName() const {
    return std::wstring(SehKindName(sehKind));
}

std::wstring SourceLocationText(const Exception& exception) {
    const std::wstring& path = exception.SourceFile();
    return path.substr(path.rfind(L'\\') + 1) + L":" + IntegerToText(exception.SourceLine());
}

} // namespace keyreap
