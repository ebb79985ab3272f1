#include "tests/dialog/dialogstate.h"

#include "platform/core/errorreport/errorreporttemplate.h"
#include "platform/core/text/text.h"
#include "tests/dialog/clipboard.h"

#include <string_view>

namespace keyreap::testsupport {

namespace {

std::string Narrow(std::wstring_view ascii) {
    return {ascii.begin(), ascii.end()};
}

std::string Quoted(std::wstring_view text) {
    std::string quoted = "\"";
    for (const wchar_t unit : text) {
        quoted += "\\u" + Narrow(HexToText(static_cast<std::uint16_t>(unit), 4));
    }
    return quoted + "\"";
}

std::string Place(HWND window) {
    RECT area = {};
    GetWindowRect(window, &area);
    return "[" + std::to_string(area.left) + ", " + std::to_string(area.top) + ", " +
           std::to_string(area.right - area.left) + ", " + std::to_string(area.bottom - area.top) + "]";
}

std::wstring Text(HWND window) {
    std::wstring text(static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return text;
}

std::string Description(HWND window) {
    return "{\"place\": " + Place(window) + ", \"visible\": " + (IsWindowVisible(window) ? "true" : "false") +
           ", \"text\": " + Quoted(Text(window)) + "}";
}

} // namespace

std::string DialogState(HWND dialog) {
    std::string state = "{\"window\": " + Description(dialog);
    using Id = ErrorReportControl;
    for (const int id : {Id::close, Id::icon, Id::message, Id::details, Id::toggle, Id::copy, Id::send}) {
        if (const HWND control = GetDlgItem(dialog, id)) {
            state += ", \"" + std::to_string(id) + "\": " + Description(control);
        }
    }
    return state + "}";
}

std::string ClipboardState() {
    return Quoted(ClipboardText());
}

} // namespace keyreap::testsupport
