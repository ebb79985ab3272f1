#include "platform/core/errorreport/controlanchorlayout.h"

#include <algorithm>

namespace keyreap {

namespace {

bool IsChild(HWND window) {
    return (GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD) != 0;
}

void AddStyle(HWND window, int index, LONG_PTR bits) {
    SetWindowLongPtrW(window, index, GetWindowLongPtrW(window, index) | bits);
}

void HideCaptionIcon(HWND window) {
    AddStyle(window, GWL_EXSTYLE, WS_EX_DLGMODALFRAME);
    if (!SendMessageW(window, WM_GETICON, ICON_SMALL, 0)) {
        SendMessageW(window, WM_SETICON, ICON_SMALL, 0);
    }
}

Extent SizeOf(const RECT& area) {
    return {area.right - area.left, area.bottom - area.top};
}

RECT ClientArea(HWND window) {
    RECT area = {};
    GetClientRect(window, &area);
    return area;
}

RECT WindowArea(HWND window) {
    RECT area = {};
    GetWindowRect(window, &area);
    return area;
}

Box BoxInClient(HWND window, HWND control) {
    RECT area = WindowArea(control);
    MapWindowPoints(HWND_DESKTOP, window, reinterpret_cast<POINT*>(&area), 2);
    return {area.left, area.top, area.right, area.bottom};
}

void MoveTo(HWND control, const Box& box) {
    SetWindowPos(control, nullptr, box.left, box.top, box.right - box.left, box.bottom - box.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

// Keeps a visible window from drawing, and draws it whole at the end.
class RedrawPause {
public:
    explicit RedrawPause(HWND paused) : window(IsWindowVisible(paused) ? paused : nullptr) {
        if (window) {
            SendMessageW(window, WM_SETREDRAW, FALSE, 0);
        }
    }
    ~RedrawPause() {
        if (window) {
            SendMessageW(window, WM_SETREDRAW, TRUE, 0);
            RedrawWindow(window, nullptr, nullptr,
                         RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
        }
    }
    RedrawPause(const RedrawPause&) = delete;
    RedrawPause& operator=(const RedrawPause&) = delete;

private:
    HWND window;
};

} // namespace

void ControlAnchorLayout::Add(int id, unsigned anchors) {
    const auto known = std::ranges::find(entries, id, &Entry::id);
    if (known != entries.end()) {
        known->anchors = anchors;
        return;
    }
    entries.push_back({id, anchors, {}});
}

void ControlAnchorLayout::Capture(HWND captured) {
    window = captured;
    AddStyle(window, GWL_STYLE, WS_CLIPCHILDREN);
    const RECT client = ClientArea(window);
    if (!IsChild(window)) {
        HideCaptionIcon(window);
    }
    base = {client.right, client.bottom};
    minimum = SizeOf(IsChild(window) ? client : WindowArea(window));
    for (Entry& entry : entries) {
        if (const HWND control = GetDlgItem(window, entry.id)) {
            entry.stored = BoxInClient(window, control);
        }
    }
}

void ControlAnchorLayout::Apply(Extent now) const {
    const RedrawPause pause(window);
    for (const Entry& entry : entries) {
        PlaceControl(entry, AtLeastMinimum(now));
    }
}

Extent ControlAnchorLayout::AtLeastMinimum(Extent now) const {
    if (!IsChild(window) || !HasMinimum()) {
        return now;
    }
    return {std::max(now.width, minimum.width), std::max(now.height, minimum.height)};
}

void ControlAnchorLayout::PlaceControl(const Entry& entry, Extent now) const {
    const HWND control = GetDlgItem(window, entry.id);
    if (control && entry.anchors != 0) {
        MoveTo(control, AnchoredBox(entry.anchors, entry.stored, BoxInClient(window, control), base, now));
    }
}

void ControlAnchorLayout::RestoreControls() const {
    for (const Entry& entry : entries) {
        const HWND control = GetDlgItem(window, entry.id);
        if (control && !entry.stored.IsEmpty()) {
            MoveTo(control, entry.stored);
        }
    }
}

void ControlAnchorLayout::LimitTracking(MINMAXINFO& limits) const {
    if (HasMinimum()) {
        limits.ptMinTrackSize = {minimum.width, minimum.height};
    }
}

} // namespace keyreap
