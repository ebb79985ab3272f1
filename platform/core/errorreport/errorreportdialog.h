#pragma once

#include "platform/core/errorreport/controlanchorlayout.h"
#include "platform/core/errorreport/erroricon.h"
#include "platform/core/errorreport/errorreporttemplate.h"
#include "platform/os/heldexception.h"

#include <windows.h>

#include <string>

namespace keyreap {

class FailureReporter;

using OwnedFont = Owned<ClosedBy<HFONT, DeleteObject>>;

// The modal dialog that shows one failure: a short text, and details that the user can open and copy.
class ErrorReportDialog {
public:
    // Without a reporter there is no send button.
    explicit ErrorReportDialog(FailureReporter* reporter) : reporter(reporter) {}
    ErrorReportDialog(const ErrorReportDialog&) = delete;
    ErrorReportDialog& operator=(const ErrorReportDialog&) = delete;

    // Returns when the dialog has ended. Returns at once if the reporter forbids the dialog or it can't be
    // shown, as on a machine without a display. The owner may be null. An exception of the reporter ends the
    // dialog and goes on from here.
    void Show(HWND owner, const ErrorReportText& text);

private:
    static INT_PTR CALLBACK Routine(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void OnInit();
    void OnCommand(int id);
    void SetDetailsFont();
    void MeasureWindow();
    void AnchorControls();
    void ToggleDetails(bool show);
    void CopyDetails() const;
    void SendDetails() const;
    HWND Control(int id) const { return GetDlgItem(window, id); }

    ControlAnchorLayout layout;
    FailureReporter* reporter;
    HWND window = nullptr;
    ErrorIcon icon;
    OwnedFont detailsFont;
    HeldException failure; // of the dialog procedure
    RECT collapsed = {};
    RECT expanded = {};
};

} // namespace keyreap
