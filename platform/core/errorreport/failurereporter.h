#pragma once

#include <windows.h>

#include <string>

// Interfaces through which a host of these rooms follows failures. This program implements neither.
namespace keyreap {

class FailureSink {
public:
    // True on success.
    virtual bool Write(const std::wstring& text) = 0;

protected:
    ~FailureSink() = default;
};

class FailureReporter {
public:
    // Called after a failure was presented: its full text, the name of its kind, the place that raised it.
    virtual void Record(const std::wstring& fullText, const std::wstring& kindName,
                        const std::wstring& location) = 0;
    // Decides whether the send button exists, and is asked again when it is pressed.
    virtual bool CanSend() = 0;
    // Takes the text of the details box and the dialog's window.
    virtual void Send(const std::wstring& details, HWND dialog) = 0;
    // Fills and returns `text`: the banner before a stack trace, or the title of the dialog.
    virtual std::wstring& GetText(std::wstring& text, bool wantBanner) = 0;
    // If false, the dialog is not shown.
    virtual bool BeforeShow(HWND owner, const std::wstring& title, const std::wstring& shortText) = 0;

protected:
    ~FailureReporter() = default;
};

} // namespace keyreap
