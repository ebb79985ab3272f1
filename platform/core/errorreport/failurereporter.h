#pragma once

#include <windows.h>

#include <string>

// What a host of these rooms may hang into the presentation of failures. This program has neither.
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
    // Told of each failure after it was presented: the full text, the name of its kind, where it was raised.
    virtual void Record(const std::wstring& fullText, const std::wstring& kindName,
                        const std::wstring& location) = 0;
    // Whether the send button is there, and whether it does anything.
    virtual bool CanSend() = 0;
    // Takes the text of the details box and the dialog's window.
    virtual void Send(const std::wstring& details, HWND dialog) = 0;
    // Fills and gives text: the banner that goes in front of a stack trace, or else the title of the dialog.
    virtual std::wstring& GetText(std::wstring& text, bool wantBanner) = 0;
    // False keeps the dialog away.
    virtual bool BeforeShow(HWND owner, const std::wstring& title, const std::wstring& shortText) = 0;

protected:
    ~FailureReporter() = default;
};

} // namespace keyreap
