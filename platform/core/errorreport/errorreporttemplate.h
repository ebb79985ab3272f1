#pragma once

#include "platform/core/errorreport/dialogtemplate.h"

#include <string>
#include <string_view>

// What the error dialog consists of: its controls, their texts, styles and places in dialog units.
namespace keyreap {

struct ErrorReportControl {
    static constexpr std::uint16_t close = 1;
    static constexpr std::uint16_t cancel = 2; // no control: what Escape and the system menu send
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

// The room for the short text and how far it pushes down what lies below, by its line feeds: never less than
// for 3 lines nor more than for 30.
MessageRoom MeasureMessage(std::wstring_view shortText);

// Empty details leave out the details box with its buttons; canSend counts only where there are details.
DialogTemplateBuilder DescribeErrorReport(const ErrorReportText& text, bool hasOwner, bool canSend);

} // namespace keyreap
