// A program with a window: it shows one for a moment, draws in it, and ends. It writes nothing to the
// registry; what its system looks up for the window is none of its doing.
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
