#include "platform/core/errorreport/errorreportdialog.h"

#include "platform/core/errorreport/failurereporter.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace keyreap {

namespace {

using Id = ErrorReportControl;

// Space below the lowest control of the opened dialog, in pixels.
constexpr LONG bottomMargin = 20;

std::vector<std::byte> TemplateBytes(const DialogTemplateBuilder& builder) {
    std::vector<std::byte> bytes(builder.Build(nullptr));
    builder.Build(bytes.data());
    return bytes;
}

std::wstring TextOf(HWND control) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
    text.resize(
        static_cast<std::size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
    return text;
}

RECT WindowArea(HWND window) {
    RECT area = {};
    GetWindowRect(window, &area);
    return area;
}

// The template's style has a sizing border, which the window must not have. The client area keeps its size.
void RemoveSizingBorder(HWND window) {
    const auto style =
        static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE)) & ~static_cast<DWORD>(WS_THICKFRAME);
    SetWindowLongPtrW(window, GWL_STYLE, static_cast<LONG_PTR>(style));
    RECT area = {};
    GetClientRect(window, &area);
    AdjustWindowRectEx(&area, style, FALSE, static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE)));
    SetWindowPos(window, nullptr, 0, 0, area.right - area.left, area.bottom - area.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

// The system centred the window with the sizing border, which it no longer has.
void CentreInWorkArea(HWND window) {
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof(monitor);
    if (!GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor)) {
        return;
    }
    const RECT area = WindowArea(window);
    const RECT work = monitor.rcWork;
    const Box place = CentredBox({work.left, work.top, work.right, work.bottom},
                                 {area.right - area.left, area.bottom - area.top});
    SetWindowPos(window, nullptr, place.left, place.top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// 9 points at the screen's resolution.
int DetailsFontHeight() {
    const HDC screen = GetDC(nullptr);
    const int height = -MulDiv(9, GetDeviceCaps(screen, LOGPIXELSY), 72);
    ReleaseDC(nullptr, screen);
    return height;
}

HFONT CreateDetailsFont() {
    return CreateFontW(DetailsFontHeight(), 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0,
                       L"Courier New");
}

} // namespace

void ErrorReportDialog::Show(HWND owner, const ErrorReportText& text) {
    if (reporter && !reporter->BeforeShow(owner, text.title, text.shortText)) {
        return;
    }
    const bool canSend = !text.details.empty() && reporter && reporter->CanSend();
    const auto bytes = TemplateBytes(DescribeErrorReport(text, owner != nullptr, canSend));
    DialogBoxIndirectParamW(GetModuleHandleW(nullptr), reinterpret_cast<const DLGTEMPLATE*>(bytes.data()),
                            owner, Routine, reinterpret_cast<LPARAM>(this));
    failure.ThrowOn();
}

INT_PTR CALLBACK ErrorReportDialog::Routine(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, DWLP_USER, lParam);
        reinterpret_cast<ErrorReportDialog*>(lParam)->window = dialog;
    }
    auto* self = reinterpret_cast<ErrorReportDialog*>(GetWindowLongPtrW(dialog, DWLP_USER));
    if (!self || self->failure.IsHolding()) {
        return FALSE;
    }
    INT_PTR result = FALSE;
    self->failure.Run([&] { result = self->OnMessage(message, wParam, lParam); });
    if (self->failure.IsHolding()) {
        EndDialog(dialog, FALSE);
    }
    return result;
}

INT_PTR ErrorReportDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG:
        OnInit();
        return TRUE;
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED) {
            layout.Apply({LOWORD(lParam), HIWORD(lParam)});
        }
        return TRUE;
    case WM_GETMINMAXINFO:
        layout.LimitTracking(*reinterpret_cast<MINMAXINFO*>(lParam));
        return TRUE;
    case WM_COMMAND:
        OnCommand(LOWORD(wParam));
        return TRUE;
    case WM_DESTROY:
        detailsFont.Reset();
        return TRUE;
    default:
        return FALSE;
    }
}

void ErrorReportDialog::OnInit() {
    RemoveSizingBorder(window);
    CentreInWorkArea(window);
    SendMessageW(Control(Id::icon), STM_SETICON, reinterpret_cast<WPARAM>(icon.Load()), 0);
    SetDetailsFont();
    MeasureWindow();
    AnchorControls();
    layout.Capture(window);
}

void ErrorReportDialog::SetDetailsFont() {
    detailsFont.Reset(CreateDetailsFont());
    if (const HWND details = Control(Id::details)) {
        SendMessageW(details, WM_SETFONT, reinterpret_cast<WPARAM>(detailsFont.Get()), TRUE);
    }
}

void ErrorReportDialog::MeasureWindow() {
    collapsed = WindowArea(window);
    expanded = collapsed;
    expanded.bottom =
        std::max(WindowArea(Control(Id::details)).bottom, WindowArea(Control(Id::copy)).bottom) +
        bottomMargin;
}

void ErrorReportDialog::AnchorControls() {
    layout.Add(Id::message, Anchor::stretchRight);
    layout.Add(Id::send, Anchor::moveRight);
    layout.Add(Id::close, Anchor::moveRight);
    layout.Add(Id::details, Anchor::stretchRight | Anchor::stretchBottom);
    layout.Add(Id::copy, Anchor::moveRight | Anchor::moveBottom);
}

void ErrorReportDialog::OnCommand(int id) {
    switch (id) {
    case Id::close:
    case Id::cancel:
        EndDialog(window, id == Id::close);
        break;
    case Id::toggle:
        ToggleDetails(!IsWindowVisible(Control(Id::details)));
        break;
    case Id::copy:
        CopyDetails();
        break;
    case Id::send:
        SendDetails();
        break;
    default:
        break;
    }
}

void ErrorReportDialog::ToggleDetails(bool show) {
    SetDlgItemTextW(window, Id::toggle, show ? hideDetailsText : showDetailsText);
    for (const int id : {Id::details, Id::copy}) {
        ShowWindow(Control(id), show ? SW_SHOW : SW_HIDE);
    }
    const RECT& area = show ? expanded : collapsed;
    SetWindowPos(window, nullptr, 0, 0, area.right - area.left, area.bottom - area.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOOWNERZORDER | SWP_NOSENDCHANGING);
    // The layout has just moved the controls with the window's edges; they belong where they were.
    layout.RestoreControls();
    layout.Capture(window);
}

void ErrorReportDialog::CopyDetails() const {
    const HWND details = Control(Id::details);
    SendMessageW(details, EM_SETSEL, 0, -1);
    SendMessageW(details, WM_COPY, 0, 0);
    SendMessageW(details, EM_SETSEL, static_cast<WPARAM>(-1), 0);
}

void ErrorReportDialog::SendDetails() const {
    if (reporter && reporter->CanSend()) {
        reporter->Send(TextOf(Control(Id::details)), window);
    }
}

} // namespace keyreap
