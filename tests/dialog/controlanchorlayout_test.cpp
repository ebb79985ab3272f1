#include "platform/core/errorreport/controlanchorlayout.h"

#include <commctrl.h>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr int first = 101;
constexpr int second = 102;
constexpr int missing = 103;

class ControlAnchorLayoutTest : public testing::Test {
protected:
    ~ControlAnchorLayoutTest() override { DestroyWindow(window); }

    static HWND CreateTestWindow(DWORD style, HWND parent) {
        return CreateWindowExW(0, WC_STATICW, L"", style, 0, 0, 200, 100, parent, nullptr, nullptr, nullptr);
    }

    static HWND AddControl(HWND parent, int id, RECT area) {
        return CreateWindowExW(0, WC_STATICW, L"", WS_CHILD | WS_VISIBLE, area.left, area.top,
                               area.right - area.left, area.bottom - area.top, parent,
                               reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    }

    static Box BoxOf(HWND parent, int id) {
        RECT area = {};
        GetWindowRect(GetDlgItem(parent, id), &area);
        MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&area), 2);
        return {area.left, area.top, area.right, area.bottom};
    }

    Extent Client() const {
        RECT area = {};
        GetClientRect(window, &area);
        return {area.right, area.bottom};
    }

    HWND window = CreateTestWindow(WS_POPUP, nullptr);
    ControlAnchorLayout layout;
};

TEST_F(ControlAnchorLayoutTest, AppliesTheAnchorsOfEachControl) {
    AddControl(window, first, {10, 20, 60, 40});
    AddControl(window, second, {20, 50, 70, 60});
    layout.Add(first, Anchor::stretchRight);
    layout.Add(second, Anchor::moveRight | Anchor::moveBottom);
    layout.Capture(window);
    layout.Apply({230, 170});
    EXPECT_EQ(BoxOf(window, first), (Box{10, 20, 90, 40}));
    EXPECT_EQ(BoxOf(window, second), (Box{50, 120, 100, 130}));
}

TEST_F(ControlAnchorLayoutTest, AddingAnIdAgainChangesItsAnchors) {
    AddControl(window, first, {10, 20, 60, 40});
    layout.Add(first, Anchor::stretchRight);
    layout.Add(first, Anchor::moveBottom);
    layout.Capture(window);
    layout.Apply({230, 170});
    EXPECT_EQ(BoxOf(window, first), (Box{10, 90, 60, 110}));
}

TEST_F(ControlAnchorLayoutTest, WithoutAnchorsAControlStays) {
    AddControl(window, first, {10, 20, 60, 40});
    layout.Add(first, 0);
    layout.Capture(window);
    layout.Apply({230, 170});
    EXPECT_EQ(BoxOf(window, first), (Box{10, 20, 60, 40}));
}

TEST_F(ControlAnchorLayoutTest, PassesOverControlsThatDoNotExist) {
    layout.Add(missing, Anchor::moveRight);
    AddControl(window, first, {10, 20, 60, 40});
    layout.Add(first, Anchor::moveRight);
    layout.Capture(window);
    layout.Apply({230, 100});
    layout.RestoreControls();
    EXPECT_EQ(BoxOf(window, first), (Box{10, 20, 60, 40}));
}

TEST_F(ControlAnchorLayoutTest, RestoresThePlacesOfTheCapture) {
    AddControl(window, first, {10, 20, 60, 40});
    layout.Add(first, Anchor::moveRight | Anchor::moveBottom);
    layout.Capture(window);
    layout.Apply({230, 170});
    layout.RestoreControls();
    EXPECT_EQ(BoxOf(window, first), (Box{10, 20, 60, 40}));
}

TEST_F(ControlAnchorLayoutTest, DoesNotRestoreToAnEmptyPlace) {
    const HWND control = AddControl(window, first, {10, 20, 10, 20});
    layout.Add(first, 0);
    layout.Capture(window);
    SetWindowPos(control, nullptr, 30, 40, 50, 60, SWP_NOZORDER | SWP_NOACTIVATE);
    layout.RestoreControls();
    EXPECT_EQ(BoxOf(window, first), (Box{30, 40, 80, 100}));
}

TEST_F(ControlAnchorLayoutTest, MakesTheWindowClipItsChildrenAndHidesItsIcon) {
    layout.Capture(window);
    EXPECT_NE(GetWindowLongPtrW(window, GWL_STYLE) & WS_CLIPCHILDREN, 0);
    EXPECT_NE(GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_DLGMODALFRAME, 0);
}

TEST_F(ControlAnchorLayoutTest, LeavesTheWindowAnIconOfItsOwn) {
    const auto icon =
        reinterpret_cast<LPARAM>(LoadIconW(nullptr, reinterpret_cast<const wchar_t*>(IDI_WARNING)));
    SendMessageW(window, WM_SETICON, ICON_SMALL, icon);
    layout.Capture(window);
    EXPECT_EQ(SendMessageW(window, WM_GETICON, ICON_SMALL, 0), icon);
}

TEST_F(ControlAnchorLayoutTest, LimitsNothingBeforeTheFirstCapture) {
    MINMAXINFO limits = {};
    limits.ptMinTrackSize = {7, 8};
    layout.LimitTracking(limits);
    EXPECT_EQ(limits.ptMinTrackSize.x, 7);
    EXPECT_EQ(limits.ptMinTrackSize.y, 8);
}

TEST_F(ControlAnchorLayoutTest, LimitsTheWindowToItsCapturedSize) {
    layout.Capture(window);
    MINMAXINFO limits = {};
    layout.LimitTracking(limits);
    EXPECT_EQ(limits.ptMinTrackSize.x, 200);
    EXPECT_EQ(limits.ptMinTrackSize.y, 100);
}

TEST_F(ControlAnchorLayoutTest, AChildWindowsControlsAreLaidOutForItsMinimumAtLeast) {
    const HWND child = CreateTestWindow(WS_CHILD, window);
    AddControl(child, first, {10, 20, 60, 40});
    layout.Add(first, Anchor::moveRight | Anchor::moveBottom);
    layout.Capture(child);
    layout.Apply({150, 170});
    EXPECT_EQ(BoxOf(child, first), (Box{10, 90, 60, 110}));
    EXPECT_EQ(GetWindowLongPtrW(child, GWL_EXSTYLE) & WS_EX_DLGMODALFRAME, 0);
}

TEST_F(ControlAnchorLayoutTest, DrawsAgainAfterItHasMovedTheControls) {
    AddControl(window, first, {10, 20, 60, 40});
    layout.Add(first, Anchor::moveRight);
    layout.Capture(window);
    ShowWindow(window, SW_SHOWNA);
    layout.Apply({230, 100});
    EXPECT_TRUE(IsWindowVisible(window));
    EXPECT_EQ(BoxOf(window, first), (Box{40, 20, 90, 40}));
}

} // namespace
} // namespace keyreap
