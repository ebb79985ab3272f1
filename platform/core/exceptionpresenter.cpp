#include "platform/core/exceptionpresenter.h"

#include "platform/core/exceptionhandling.h"
#include "platform/core/message.h"
#include "platform/core/messageids.h"
#include "platform/core/stacktrace/stacktracetext.h"
#include "platform/core/text/text.h"

#include <string>

namespace keyreap {

namespace {

std::wstring ShortText(const Exception& exception) {
    return exception.GetKind() == ExceptionKind::EXCEPTION_SEH
               ? LoadResourceString(messageid::unhandledFailure)
               : TextBeforeStackTrace(exception.Message());
}

} // namespace

void ExceptionPresenter::PresentException(const Exception& exception, HWND owner) {
    presentation.ShowFailure(owner, {ShortText(exception), exception.Message(), exception.GetKindName(),
                                     SourceLocationText(exception)});
}

void ExceptionPresenter::PresentStandardException(const std::exception& exception, HWND owner) {
    const std::wstring text = WidenBytes(exception.what());
    const std::wstring kindName(ExceptionKindName(ExceptionKind::EXCEPTION_STD));
    presentation.ShowFailure(
        owner, {TextBeforeStackTrace(text), text, kindName, L"platform\\core\\exceptionpresenter"});
}

} // namespace keyreap
