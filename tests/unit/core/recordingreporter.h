#pragma once

#include "platform/core/errorreport/failurereporter.h"

#include <string>
#include <vector>

namespace keyreap::testsupport {

// Keeps what it gets, and answers with its public members.
class RecordingSink : public FailureSink {
public:
    bool Write(const std::wstring& text) override {
        texts.push_back(text);
        return succeeds;
    }

    bool succeeds = true;
    std::vector<std::wstring> texts;
};

class RecordingReporter : public FailureReporter {
public:
    struct Recorded {
        std::wstring fullText;
        std::wstring kindName;
        std::wstring location;
    };
    struct Sent {
        std::wstring details;
        HWND dialog;
    };
    struct Shown {
        HWND owner;
        std::wstring title;
        std::wstring shortText;
    };

    void Record(const std::wstring& fullText, const std::wstring& kindName,
                const std::wstring& location) override {
        recorded.push_back({fullText, kindName, location});
    }
    bool CanSend() override {
        ++canSendCalls;
        return canSend;
    }
    void Send(const std::wstring& details, HWND dialog) override { sent.push_back({details, dialog}); }
    std::wstring& GetText(std::wstring& text, bool wantBanner) override {
        ++textCalls;
        text = wantBanner ? banner : title;
        return text;
    }
    bool BeforeShow(HWND owner, const std::wstring& dialogTitle, const std::wstring& shortText) override {
        shown.push_back({owner, dialogTitle, shortText});
        return allowsDialog;
    }

    bool canSend = false;
    bool allowsDialog = false;
    std::wstring banner;
    std::wstring title;
    int canSendCalls = 0;
    int textCalls = 0;
    std::vector<Recorded> recorded;
    std::vector<Sent> sent;
    std::vector<Shown> shown;
};

} // namespace keyreap::testsupport
