#pragma once

#include "platform/core/failurepresentation.h"

#include <windows.h>

#include <exception>

namespace keyreap {

class Exception;

// Shows an exception to the user. Exception::GetPresenter returns the one object of the process.
class ExceptionPresenter {
public:
    explicit ExceptionPresenter(FailurePresentation& presentation = FailurePresentation::OfProcess())
        : presentation(presentation) {}

    // The short text is the message up to its trace, or a fixed text for a structured exception.
    virtual void PresentException(const Exception& exception, HWND owner);
    virtual void PresentStandardException(const std::exception& exception, HWND owner);

private:
    FailurePresentation& presentation;
};

} // namespace keyreap
