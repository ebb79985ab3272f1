#pragma once

#include "platform/core/errorreport/dialogtemplate.h"

#include <string>
#include <string_view>

// The contents of the error dialog: its controls, their texts, styles and places in dialog units.
namespace keyreap {

struct ErrorReportControl {
    static constexpr std::uint16_t close = 1;
    static constexpr std::uint16_t cancel = 2; // no control: Escape and the system menu send it
    static constexpr std::uint16_t icon = 500;
    static constexpr std::uint16_t message = 501;
    static constexpr std::uint16_t details = 502;
    static constexpr std::uint16_t toggle = 503;
    static constexpr std::uint16_t copy = 504;
    static constexpr std::uint16_t send = 505;
};

inline constexpr wchar_t showDetailsText[] = L"Details >>";
inline constexpr wchar_t hideDetailsText[] = L"Details <<";

struct ErrorReportText {
    std::wstring title;
    std::wstring shortText;
    std::wstring details;
};

struct MessageRoom {
    std::int16_t messageHeight;
    std::int16_t extra;
};

// The height of the short text, and how far it pushes down what is below it. Line feeds decide, with at least
// 3 lines and at most 30.
MessageRoom MeasureMessage(std::wstring_view shortText);

// Empty details leave out the details box and its buttons; `canSend` has an effect only with details.
DialogTemplateBuilder DescribeErrorReport(const ErrorReportText& text, bool hasOwner, bool canSend);

} // namespace keyreap
