#pragma once

#include <windows.h>

#include <exception>

namespace keyreap {

class Exception;

// Shows an exception to the user: on the console if a host has set a sink for it, else in the error dialog.
// There is one object for the process, which Exception::GetPresenter gives.
class ExceptionPresenter {
public:
    virtual void PresentException(const Exception& exception, HWND owner);
    virtual void PresentStandardException(const std::exception& exception, HWND owner);
};

} // namespace keyreap
