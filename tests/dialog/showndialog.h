#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <thread>

namespace keyreap::testsupport {

// A modal dialog that the given function shows, on a thread of its own, so that a test can look at it and use
// it. Closes the dialog at the end of its life if the test hasn't.
class ShownDialog {
public:
    // Waits until the dialog with that title is there for the user.
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

    // As the user's click does.
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

// The first visible window for which the condition holds, or null after some seconds without one.
HWND WaitForWindow(const std::function<bool(HWND)>& condition);

inline bool operator==(const RECT& left, const RECT& right) {
    return EqualRect(&left, &right);
}

} // namespace keyreap::testsupport
