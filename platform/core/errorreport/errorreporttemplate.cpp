#include "platform/core/errorreport/errorreporttemplate.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::uint16_t buttonClass = 0x80;
constexpr std::uint16_t editClass = 0x81;
constexpr std::uint16_t staticClass = 0x82;

// WS_POPUP, WS_CAPTION, WS_SYSMENU, WS_THICKFRAME, DS_CENTER, DS_MODALFRAME, DS_SETFONT.
constexpr std::uint32_t dialogStyle = 0x80CC08C0;
// WS_EX_APPWINDOW, so that a dialog without an owner has its button in the task bar.
constexpr std::uint32_t ownerlessExtendedStyle = 0x00040000;

// No control has WS_TABSTOP.
constexpr std::uint32_t shownStyle = 0x50000000;
constexpr std::uint32_t hiddenStyle = 0x40000000;
constexpr std::uint32_t iconStyle = shownStyle | 0x3;          // SS_ICON
constexpr std::uint32_t defaultButtonStyle = shownStyle | 0x1; // BS_DEFPUSHBUTTON
// Hidden, with WS_BORDER, both scroll bars, ES_MULTILINE, ES_AUTOVSCROLL, ES_AUTOHSCROLL, ES_READONLY and
// ES_WANTRETURN.
constexpr std::uint32_t detailsStyle = 0x40B018C4;

constexpr int fewestLines = 3;
constexpr int mostLines = 30;

std::int16_t Units(int value) {
    return static_cast<std::int16_t>(value);
}

// A line is 8.3 units high; the sum is cut to whole units.
std::int16_t LinesHeight(int lines) {
    return Units(lines * 83 / 10);
}

void AddDetails(DialogTemplateBuilder& builder, const std::wstring& details, int extra, bool canSend) {
    using Id = ErrorReportControl;
    const std::int16_t buttonRow = Units(extra + 37);
    if (canSend) {
        builder.AddControl(
            {buttonClass, Id::send, L"Send Error Report", shownStyle, 0, {225, buttonRow, 65, 14}});
    }
    builder.AddControl({buttonClass, Id::toggle, showDetailsText, shownStyle, 0, {5, buttonRow, 50, 14}});
    builder.AddControl({editClass, Id::details, details, detailsStyle, 0, {4, Units(extra + 55), 342, 200}});
    builder.AddControl({buttonClass, Id::copy, L"Copy", hiddenStyle, 0, {296, Units(extra + 260), 50, 14}});
}

} // namespace

MessageRoom MeasureMessage(std::wstring_view shortText) {
    const std::int64_t lines = 1 + std::ranges::count(shortText, L'\n');
    const int counted = static_cast<int>(std::clamp<std::int64_t>(lines, fewestLines, mostLines));
    return {LinesHeight(counted), LinesHeight(counted - fewestLines)};
}

DialogTemplateBuilder DescribeErrorReport(const ErrorReportText& text, bool hasOwner, bool canSend) {
    using Id = ErrorReportControl;
    const auto [messageHeight, extra] = MeasureMessage(text.shortText);
    DialogTemplateBuilder builder(text.title, dialogStyle, hasOwner ? 0 : ownerlessExtendedStyle,
                                  {0, 0, 350, Units(extra + 60)});
    builder.AddControl({staticClass, Id::icon, L"", iconStyle, 0, {10, 10, 21, 21}});
    builder.AddControl(
        {staticClass, Id::message, text.shortText, shownStyle, 0, {38, 10, 306, messageHeight}});
    builder.AddControl(
        {buttonClass, Id::close, L"Close", defaultButtonStyle, 0, {296, Units(extra + 37), 50, 14}});
    if (!text.details.empty()) {
        AddDetails(builder, text.details, extra, canSend);
    }
    return builder;
}

} // namespace keyreap
