#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <thread>

namespace keyreap::testsupport {

// A modal dialog that the given function shows on a thread of its own, so that a test can examine and use it.
// The destructor closes the dialog if the test hasn't.
class ShownDialog {
public:
    // Waits until the dialog with that title is visible.
    ShownDialog(const std::wstring& title, std::function<void()> show);
    ~ShownDialog();
    ShownDialog(const ShownDialog&) = delete;
    ShownDialog& operator=(const ShownDialog&) = delete;

    HWND Window() const { return window; }
    HWND Control(int id) const { return GetDlgItem(window, id); }
    bool Has(int id) const { return Control(id) != nullptr; }
    bool Shows(int id) const { return IsWindowVisible(Control(id)) != FALSE; }
    std::wstring Text(int id) const;

    // In screen coordinates.
    RECT Area() const;
    // In client coordinates.
    RECT Area(int id) const;

    // The same effect as the user's click.
    void Click(int id) const;

    // Waits until the function has returned. False if it doesn't.
    bool Ends();

private:
    std::thread thread;
    HANDLE ended;
    HWND window = nullptr;
};

// The text of any window, of this process or another.
std::wstring WindowText(HWND window);

// The first visible window that meets the condition, or null if there is none after some seconds.
HWND WaitForWindow(const std::function<bool(HWND)>& condition);

inline bool operator==(const RECT& left, const RECT& right) {
    return EqualRect(&left, &right);
}

} // namespace keyreap::testsupport
