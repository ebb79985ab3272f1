#include "tests/dialog/showndialog.h"

#include <gtest/gtest.h>

namespace keyreap::testsupport {

namespace {

constexpr DWORD patience = 20'000;

struct Search {
    const std::function<bool(HWND)>& condition;
    HWND found;
};

BOOL CALLBACK TestWindow(HWND window, LPARAM parameter) {
    Search& search = *reinterpret_cast<Search*>(parameter);
    if (IsWindowVisible(window) && search.condition(window)) {
        search.found = window;
        return FALSE;
    }
    return TRUE;
}

RECT WindowArea(HWND window) {
    RECT area = {};
    GetWindowRect(window, &area);
    return area;
}

} // namespace

std::wstring WindowText(HWND window) {
    std::wstring text(static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)) + 1, L'\0');
    const LRESULT length =
        SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

HWND WaitForWindow(const std::function<bool(HWND)>& condition) {
    Search search = {condition, nullptr};
    for (const ULONGLONG start = GetTickCount64(); !search.found && GetTickCount64() - start < patience;) {
        EnumWindows(TestWindow, reinterpret_cast<LPARAM>(&search));
        Sleep(10);
    }
    return search.found;
}

ShownDialog::ShownDialog(const std::wstring& title, std::function<void()> show)
    : ended(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    thread = std::thread([this, show = std::move(show)] {
        show();
        SetEvent(ended);
    });
    window = WaitForWindow([&title](HWND candidate) {
        DWORD process = 0;
        GetWindowThreadProcessId(candidate, &process);
        return process == GetCurrentProcessId() && WindowText(candidate) == title;
    });
    EXPECT_NE(window, nullptr) << "no dialog has opened";
}

ShownDialog::~ShownDialog() {
    PostMessageW(window, WM_COMMAND, IDOK, 0);
    thread.join();
    CloseHandle(ended);
}

std::wstring ShownDialog::Text(int id) const {
    return WindowText(Control(id));
}

RECT ShownDialog::Area() const {
    return WindowArea(window);
}

RECT ShownDialog::Area(int id) const {
    RECT area = WindowArea(Control(id));
    MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&area), 2);
    return area;
}

void ShownDialog::Click(int id) const {
    SendMessageW(Control(id), BM_CLICK, 0, 0);
}

bool ShownDialog::Ends() {
    return WaitForSingleObject(ended, patience) == WAIT_OBJECT_0;
}

} // namespace keyreap::testsupport
