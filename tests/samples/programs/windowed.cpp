// A program that shows a window for a moment and draws in it. It writes nothing to the registry; only the
// system reads the registry for the window.
#include <windows.h>

namespace {

constexpr wchar_t className[] = L"KeyreapWindowed";

void DrawIn(HWND window) {
    HDC context = GetDC(window);
    TextOutW(context, 0, 0, L"hello", 5);
    ReleaseDC(window, context);
}

void HandleMessages() {
    MSG message = {};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        DispatchMessageW(&message);
    }
}

} // namespace

int wmain() {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = DefWindowProcW;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
    windowClass.lpszClassName = className;
    RegisterClassW(&windowClass);
    HWND window = CreateWindowExW(0, className, L"windowed", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 100, 100,
                                  nullptr, nullptr, windowClass.hInstance, nullptr);
    UpdateWindow(window);
    DrawIn(window);
    HandleMessages();
    DestroyWindow(window);
    return 0;
}
