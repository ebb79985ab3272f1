#include "platform/core/errorreport/errorreporttemplate.h"
#include "tests/unit/errorreport/templatereader.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace keyreap {
namespace {

using testsupport::ReadControl;
using testsupport::ReadDialogTemplate;
using testsupport::ReadTemplate;

constexpr std::uint32_t tabStop = 0x00010000; // WS_TABSTOP

std::wstring Lines(int count) {
    std::wstring text = L"line";
    for (int i = 1; i < count; ++i) {
        text += L"\r\nline";
    }
    return text;
}

ReadTemplate Describe(const std::wstring& shortText, const std::wstring& details, bool hasOwner = false,
                      bool canSend = false) {
    return ReadDialogTemplate(DescribeErrorReport({L"Title", shortText, details}, hasOwner, canSend));
}

std::vector<int> Ids(const ReadTemplate& dialog) {
    std::vector<int> ids;
    for (const ReadControl& control : dialog.controls) {
        ids.push_back(control.id);
    }
    return ids;
}

ReadControl Find(const ReadTemplate& dialog, int id) {
    return *std::ranges::find(dialog.controls, id, &ReadControl::id);
}

void ExpectControl(const ReadControl& control, std::uint16_t windowClass, const std::wstring& text,
                   std::uint32_t style, std::vector<int> area) {
    EXPECT_EQ(control.windowClass, TemplateName(windowClass)) << control.id;
    EXPECT_EQ(control.text, TemplateName(text)) << control.id;
    EXPECT_EQ(control.style, style) << control.id;
    EXPECT_EQ(control.extendedStyle, 0u) << control.id;
    EXPECT_EQ((std::vector<int>{control.x, control.y, control.cx, control.cy}), area) << control.id;
}

struct RoomRow {
    int lines;
    int messageHeight;
    int extra;
};

class MeasureMessageRows : public testing::TestWithParam<RoomRow> {};

TEST_P(MeasureMessageRows, FollowTheLinesBetween3And30) {
    const MessageRoom room = MeasureMessage(Lines(GetParam().lines));
    EXPECT_EQ(room.messageHeight, GetParam().messageHeight);
    EXPECT_EQ(room.extra, GetParam().extra);
}

INSTANTIATE_TEST_SUITE_P(Lines, MeasureMessageRows,
                         testing::Values(RoomRow{1, 24, 0}, RoomRow{3, 24, 0}, RoomRow{4, 33, 8},
                                         RoomRow{10, 83, 58}, RoomRow{20, 166, 141}, RoomRow{30, 249, 224},
                                         RoomRow{31, 249, 224}, RoomRow{40, 249, 224}));

TEST(MeasureMessage, AnEmptyTextIsOneLine) {
    EXPECT_EQ(MeasureMessage(L"").messageHeight, 24);
}

TEST(MeasureMessage, CountsLineFeedsAlone) {
    EXPECT_EQ(MeasureMessage(L"\n\n\n").messageHeight, 33);
    EXPECT_EQ(MeasureMessage(L"\r\r\r").messageHeight, 24);
}

TEST(DescribeErrorReport, TheDialogItself) {
    const ReadTemplate dialog = Describe(Lines(4), L"");
    EXPECT_EQ(dialog.style, 0x80CC08C0u);
    EXPECT_EQ(dialog.title, L"Title");
    EXPECT_EQ(dialog.fontPoints, 8);
    EXPECT_EQ(dialog.fontName, L"MS Shell Dlg");
    EXPECT_EQ((std::vector<int>{dialog.x, dialog.y, dialog.cx, dialog.cy}),
              (std::vector<int>{0, 0, 350, 68}));
}

TEST(DescribeErrorReport, IsAWindowOfTheTaskBarOnlyWithoutAnOwner) {
    EXPECT_EQ(Describe(L"short", L"", false).extendedStyle, 0x00040000u);
    EXPECT_EQ(Describe(L"short", L"", true).extendedStyle, 0u);
}

TEST(DescribeErrorReport, WithoutDetailsThereAreIconTextAndClose) {
    const ReadTemplate dialog = Describe(L"short", L"", false, true);
    EXPECT_EQ(Ids(dialog), (std::vector<int>{500, 501, 1}));
    EXPECT_EQ(dialog.cy, 60);
}

TEST(DescribeErrorReport, WithDetailsThereAreTheirBoxAndButtons) {
    EXPECT_EQ(Ids(Describe(L"short", L"details")), (std::vector<int>{500, 501, 1, 503, 502, 504}));
}

TEST(DescribeErrorReport, TheSendButtonComesOnlyWhereSendingIsPossible) {
    EXPECT_EQ(Ids(Describe(L"short", L"details", false, true)),
              (std::vector<int>{500, 501, 1, 505, 503, 502, 504}));
}

TEST(DescribeErrorReport, EachControlHasItsClassTextStyleAndPlace) {
    const ReadTemplate dialog = Describe(L"short", L"details", false, true);
    ExpectControl(Find(dialog, 500), 0x82, L"", 0x50000003, {10, 10, 21, 21});
    ExpectControl(Find(dialog, 501), 0x82, L"short", 0x50000000, {38, 10, 306, 24});
    ExpectControl(Find(dialog, 1), 0x80, L"Close", 0x50000001, {296, 37, 50, 14});
    ExpectControl(Find(dialog, 505), 0x80, L"Send Error Report", 0x50000000, {225, 37, 65, 14});
    ExpectControl(Find(dialog, 503), 0x80, L"Details >>", 0x50000000, {5, 37, 50, 14});
    ExpectControl(Find(dialog, 502), 0x81, L"details", 0x40B018C4, {4, 55, 342, 200});
    ExpectControl(Find(dialog, 504), 0x80, L"Copy", 0x40000000, {296, 260, 50, 14});
}

TEST(DescribeErrorReport, MoreLinesPushDownAllBelowTheText) {
    const ReadTemplate dialog = Describe(Lines(40), L"details", false, true);
    EXPECT_EQ(dialog.cy, 284);
    EXPECT_EQ(Find(dialog, 501).cy, 249);
    EXPECT_EQ(Find(dialog, 1).y, 261);
    EXPECT_EQ(Find(dialog, 505).y, 261);
    EXPECT_EQ(Find(dialog, 503).y, 261);
    EXPECT_EQ(Find(dialog, 502).y, 279);
    EXPECT_EQ(Find(dialog, 504).y, 484);
}

TEST(DescribeErrorReport, NoControlIsATabStop) {
    for (const ReadControl& control : Describe(L"short", L"details", false, true).controls) {
        EXPECT_EQ(control.style & tabStop, 0u) << control.id;
    }
}

} // namespace
} // namespace keyreap
