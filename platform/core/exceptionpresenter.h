#pragma once

#include "platform/core/failurepresentation.h"

#include <windows.h>

#include <exception>

namespace keyreap {

class Exception;

// Shows an exception to the user. There is one object for the process, which Exception::GetPresenter gives.
class ExceptionPresenter {
public:
    explicit ExceptionPresenter(FailurePresentation& target = FailurePresentation::OfProcess())
        : presentation(target) {}

    // The short text is what stands before the trace in the message, but a fixed one for a structured
    // exception.
    virtual void PresentException(const Exception& exception, HWND owner);
    virtual void PresentStandardException(const std::exception& exception, HWND owner);

private:
    FailurePresentation& presentation;
};

} // namespace keyreap
