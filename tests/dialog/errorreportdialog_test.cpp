#include "platform/core/errorreport/errorreportdialog.h"
#include "tests/dialog/clipboard.h"
#include "tests/dialog/showndialog.h"
#include "tests/support/importreplacement.h"
#include "tests/unit/core/recordingreporter.h"

#include <commctrl.h>

#include <gmock/gmock.h>

#include <atomic>

namespace keyreap {
namespace {

using testing::SizeIs;
using testsupport::ClipboardText;
using testsupport::ImportReplacement;
using testsupport::RecordingReporter;
using testsupport::ShownDialog;
using testsupport::operator==;
using Id = ErrorReportControl;

constexpr wchar_t title[] = L"A title of its own";
const ErrorReportText withDetails = {title, L"short text", L"the details\r\nof it"};
const ErrorReportText withoutDetails = {title, L"short text", L""};

std::function<void()> Showing(const ErrorReportText& text, FailureReporter* reporter = nullptr) {
    return [text, reporter] { ErrorReportDialog(reporter).Show(nullptr, text); };
}

std::wstring Lines(int count) {
    std::wstring text = L"line";
    for (int i = 1; i < count; ++i) {
        text += L"\r\nline";
    }
    return text;
}

// A place in dialog units, in pixels of the dialog. The system rounds the corner and the size separately.
RECT Pixels(const ShownDialog& dialog, int x, int y, int cx, int cy) {
    RECT corner = {x, y, 0, 0};
    RECT size = {cx, cy, 0, 0};
    MapDialogRect(dialog.Window(), &corner);
    MapDialogRect(dialog.Window(), &size);
    return {corner.left, corner.top, corner.left + size.left, corner.top + size.top};
}

std::vector<RECT> AllAreas(const ShownDialog& dialog) {
    std::vector<RECT> areas = {dialog.Area()};
    for (const int id : {Id::icon, Id::message, Id::close, Id::toggle, Id::details, Id::copy}) {
        areas.push_back(dialog.Area(id));
    }
    return areas;
}

void ExpectSameAreas(const std::vector<RECT>& left, const std::vector<RECT>& right) {
    EXPECT_TRUE(std::ranges::equal(left, right, [](const RECT& a, const RECT& b) { return a == b; }));
}

TEST(ErrorReportDialog, ShowsTitleTextAndButtons) {
    const ShownDialog dialog(title, Showing(withDetails));
    EXPECT_EQ(dialog.Text(Id::message), L"short text");
    EXPECT_EQ(dialog.Text(Id::close), L"Close");
    EXPECT_EQ(dialog.Text(Id::toggle), L"Details >>");
    EXPECT_EQ(dialog.Text(Id::copy), L"Copy");
    EXPECT_EQ(dialog.Text(Id::details), L"the details\r\nof it");
    EXPECT_FALSE(dialog.Has(Id::send));
}

TEST(ErrorReportDialog, WithoutDetailsHasOnlyIconTextAndClose) {
    const ShownDialog dialog(title, Showing(withoutDetails));
    for (const int id : {Id::icon, Id::message, Id::close}) {
        EXPECT_TRUE(dialog.Shows(id)) << id;
    }
    for (const int id : {Id::details, Id::toggle, Id::copy, Id::send}) {
        EXPECT_FALSE(dialog.Has(id)) << id;
    }
}

TEST(ErrorReportDialog, TheDetailsStartHidden) {
    const ShownDialog dialog(title, Showing(withDetails));
    EXPECT_FALSE(dialog.Shows(Id::details));
    EXPECT_FALSE(dialog.Shows(Id::copy));
    EXPECT_TRUE(dialog.Shows(Id::toggle));
}

TEST(ErrorReportDialog, ItsHeightFollowsTheLinesOfTheText) {
    struct Row {
        int lines;
        int height;
    };
    for (const Row row : {Row{1, 60}, Row{3, 60}, Row{4, 68}, Row{30, 284}, Row{40, 284}}) {
        const ShownDialog dialog(title, Showing({title, Lines(row.lines), L""}));
        RECT client = {};
        GetClientRect(dialog.Window(), &client);
        EXPECT_TRUE(client == Pixels(dialog, 0, 0, 350, row.height)) << row.lines;
    }
}

TEST(ErrorReportDialog, TheControlsLieWhereTheTemplatePutsThem) {
    const ShownDialog dialog(title, Showing(withDetails));
    EXPECT_TRUE(dialog.Area(Id::message) == Pixels(dialog, 38, 10, 306, 24));
    EXPECT_TRUE(dialog.Area(Id::close) == Pixels(dialog, 296, 37, 50, 14));
    EXPECT_TRUE(dialog.Area(Id::toggle) == Pixels(dialog, 5, 37, 50, 14));
    EXPECT_TRUE(dialog.Area(Id::details) == Pixels(dialog, 4, 55, 342, 200));
    EXPECT_TRUE(dialog.Area(Id::copy) == Pixels(dialog, 296, 260, 50, 14));
}

TEST(ErrorReportDialog, HasAnErrorIconBesideTheText) {
    const ShownDialog dialog(title, Showing(withDetails));
    EXPECT_NE(SendMessageW(dialog.Control(Id::icon), STM_GETICON, 0, 0), 0);
}

TEST(ErrorReportDialog, ItsCaptionShowsNoIcon) {
    const ShownDialog dialog(title, Showing(withDetails));
    EXPECT_NE(GetWindowLongPtrW(dialog.Window(), GWL_EXSTYLE) & WS_EX_DLGMODALFRAME, 0);
    EXPECT_EQ(SendMessageW(dialog.Window(), WM_GETICON, ICON_SMALL, 0), 0);
}

TEST(ErrorReportDialog, ShowsTheDetailsInCourierNewOf9Points) {
    const ShownDialog dialog(title, Showing(withDetails));
    const auto font = reinterpret_cast<HFONT>(SendMessageW(dialog.Control(Id::details), WM_GETFONT, 0, 0));
    LOGFONTW description = {};
    ASSERT_NE(GetObjectW(font, sizeof(description), &description), 0);
    const HDC screen = GetDC(nullptr);
    EXPECT_EQ(description.lfHeight, -MulDiv(9, GetDeviceCaps(screen, LOGPIXELSY), 72));
    ReleaseDC(nullptr, screen);
    EXPECT_EQ(description.lfWeight, 400);
    EXPECT_EQ(std::wstring(description.lfFaceName), L"Courier New");
}

TEST(ErrorReportDialog, AllCharactersOfTheDetailsAreEquallyWide) {
    const ShownDialog dialog(title, Showing(withDetails));
    const HWND details = dialog.Control(Id::details);
    const HDC canvas = GetDC(details);
    SelectObject(canvas, reinterpret_cast<HFONT>(SendMessageW(details, WM_GETFONT, 0, 0)));
    SIZE narrow = {};
    SIZE wide = {};
    GetTextExtentPoint32W(canvas, L"iiii", 4, &narrow);
    GetTextExtentPoint32W(canvas, L"WWWW", 4, &wide);
    ReleaseDC(details, canvas);
    EXPECT_EQ(narrow.cx, wide.cx);
}

TEST(ErrorReportDialog, TheDetailsCanNotBeEdited) {
    const ShownDialog dialog(title, Showing(withDetails));
    dialog.Click(Id::toggle);
    SendMessageW(dialog.Control(Id::details), WM_CHAR, L'x', 0);
    EXPECT_EQ(dialog.Text(Id::details), L"the details\r\nof it");
}

TEST(ErrorReportDialog, DetailsOpensTheBoxAndTheCopyButton) {
    const ShownDialog dialog(title, Showing(withDetails));
    dialog.Click(Id::toggle);
    EXPECT_TRUE(dialog.Shows(Id::details));
    EXPECT_TRUE(dialog.Shows(Id::copy));
    EXPECT_EQ(dialog.Text(Id::toggle), L"Details <<");
}

TEST(ErrorReportDialog, OpeningMakesRoomBelowAndMovesNothing) {
    const ShownDialog dialog(title, Showing(withDetails));
    const RECT closed = dialog.Area();
    RECT lowest = {};
    GetWindowRect(dialog.Control(Id::copy), &lowest);
    const std::vector<RECT> before = AllAreas(dialog);
    dialog.Click(Id::toggle);
    const RECT open = dialog.Area();
    EXPECT_EQ(open.left, closed.left);
    EXPECT_EQ(open.top, closed.top);
    EXPECT_EQ(open.right, closed.right);
    EXPECT_EQ(open.bottom, lowest.bottom + 20);
    const std::vector<RECT> after = AllAreas(dialog);
    ExpectSameAreas({before.begin() + 1, before.end()}, {after.begin() + 1, after.end()});
}

TEST(ErrorReportDialog, DetailsPressedTwiceIsAsBefore) {
    const ShownDialog dialog(title, Showing(withDetails));
    const std::vector<RECT> before = AllAreas(dialog);
    dialog.Click(Id::toggle);
    dialog.Click(Id::toggle);
    ExpectSameAreas(AllAreas(dialog), before);
    EXPECT_FALSE(dialog.Shows(Id::details));
    EXPECT_FALSE(dialog.Shows(Id::copy));
    EXPECT_EQ(dialog.Text(Id::toggle), L"Details >>");
}

TEST(ErrorReportDialog, NothingDriftsHoweverOftenDetailsIsPressed) {
    const ShownDialog dialog(title, Showing({title, Lines(5), L"details"}));
    const std::vector<RECT> closed = AllAreas(dialog);
    dialog.Click(Id::toggle);
    const std::vector<RECT> open = AllAreas(dialog);
    for (int i = 0; i < 5; ++i) {
        dialog.Click(Id::toggle);
        ExpectSameAreas(AllAreas(dialog), closed);
        dialog.Click(Id::toggle);
        ExpectSameAreas(AllAreas(dialog), open);
    }
}

TEST(ErrorReportDialog, CopyPutsTheDetailsOnTheClipboardAndSelectsNothing) {
    const ShownDialog dialog(title, Showing(withDetails));
    dialog.Click(Id::toggle);
    dialog.Click(Id::copy);
    EXPECT_EQ(ClipboardText(), L"the details\r\nof it");
    DWORD start = 1;
    DWORD end = 2;
    SendMessageW(dialog.Control(Id::details), EM_GETSEL, reinterpret_cast<WPARAM>(&start),
                 reinterpret_cast<LPARAM>(&end));
    EXPECT_EQ(start, end);
}

TEST(ErrorReportDialog, CopiesDetailsOfAnyLength) {
    const std::wstring details(100'000, L'd');
    const ShownDialog dialog(title, Showing({title, L"short text", details}));
    dialog.Click(Id::copy);
    EXPECT_EQ(ClipboardText(), details);
}

TEST(ErrorReportDialog, CommandsOfNoButtonDoNothing) {
    const ShownDialog dialog(title, Showing(withDetails));
    const std::vector<RECT> before = AllAreas(dialog);
    SendMessageW(dialog.Window(), WM_COMMAND, Id::message, 0);
    ExpectSameAreas(AllAreas(dialog), before);
    EXPECT_FALSE(dialog.Shows(Id::details));
}

TEST(ErrorReportDialog, CloseEndsIt) {
    ShownDialog dialog(title, Showing(withDetails));
    PostMessageW(dialog.Control(Id::close), BM_CLICK, 0, 0);
    EXPECT_TRUE(dialog.Ends());
}

TEST(ErrorReportDialog, EscapeEndsIt) {
    ShownDialog dialog(title, Showing(withDetails));
    PostMessageW(dialog.Control(Id::close), WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_TRUE(dialog.Ends());
}

TEST(ErrorReportDialog, TheSystemMenuEndsIt) {
    ShownDialog dialog(title, Showing(withDetails));
    PostMessageW(dialog.Window(), WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_TRUE(dialog.Ends());
}

// The result of the dialog, which the function that shows it ignores.
std::atomic<INT_PTR> endResult;
const ImportReplacement* replacedEnd = nullptr;

BOOL WINAPI RecordEnd(HWND dialog, INT_PTR result) {
    endResult = result;
    return replacedEnd->Original<decltype(&EndDialog)>()(dialog, result);
}

class ErrorReportEnd : public testing::Test {
protected:
    ErrorReportEnd() {
        endResult = -1;
        replacedEnd = &replacement;
    }

    ImportReplacement replacement{"EndDialog", reinterpret_cast<const void*>(&RecordEnd)};
};

TEST_F(ErrorReportEnd, IsTrueByTheCloseButton) {
    ShownDialog dialog(title, Showing(withDetails));
    PostMessageW(dialog.Control(Id::close), BM_CLICK, 0, 0);
    EXPECT_TRUE(dialog.Ends());
    EXPECT_EQ(endResult, 1);
}

TEST_F(ErrorReportEnd, IsFalseByEscapeAsByTheIdentifierTwo) {
    ShownDialog dialog(title, Showing(withDetails));
    PostMessageW(dialog.Control(Id::close), WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_TRUE(dialog.Ends());
    EXPECT_EQ(endResult, 0);
}

TEST_F(ErrorReportEnd, IsFalseByTheSystemMenu) {
    ShownDialog dialog(title, Showing(withDetails));
    PostMessageW(dialog.Window(), WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_TRUE(dialog.Ends());
    EXPECT_EQ(endResult, 0);
}

TEST(ErrorReportDialog, CanNotBeSmallerThanItIs) {
    const ShownDialog dialog(title, Showing(withDetails));
    const RECT area = dialog.Area();
    MINMAXINFO limits = {};
    SendMessageW(dialog.Window(), WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    EXPECT_EQ(limits.ptMinTrackSize.x, area.right - area.left);
    EXPECT_EQ(limits.ptMinTrackSize.y, area.bottom - area.top);
}

TEST(ErrorReportDialog, ItsControlsFollowItsSizeUnlessItIsMinimized) {
    const ShownDialog dialog(title, Showing(withDetails));
    const std::vector<RECT> before = AllAreas(dialog);
    const RECT close = dialog.Area(Id::close);
    const LPARAM size = MAKELPARAM(30, 20);
    SendMessageW(dialog.Window(), WM_SIZE, SIZE_MINIMIZED, size);
    ExpectSameAreas(AllAreas(dialog), before);
    SendMessageW(dialog.Window(), WM_SIZE, SIZE_RESTORED, size);
    EXPECT_FALSE(dialog.Area(Id::close) == close);
}

TEST(ErrorReportDialog, HasNoSizingBorder) {
    const ShownDialog dialog(title, Showing(withDetails));
    EXPECT_EQ(GetWindowLongPtrW(dialog.Window(), GWL_STYLE) & WS_THICKFRAME, 0);
}

TEST(ErrorReportDialog, OpensInTheMiddleOfTheWorkArea) {
    for (const ErrorReportText& text :
         {withDetails, withoutDetails, ErrorReportText{title, Lines(20), L"d"}}) {
        const ShownDialog dialog(title, Showing(text));
        MONITORINFO monitor = {};
        monitor.cbSize = sizeof(monitor);
        ASSERT_TRUE(GetMonitorInfoW(MonitorFromWindow(dialog.Window(), MONITOR_DEFAULTTONULL), &monitor));
        const RECT area = dialog.Area();
        const RECT work = monitor.rcWork;
        EXPECT_EQ(area.left, (work.left + work.right - (area.right - area.left)) / 2);
        EXPECT_EQ(area.top, (work.top + work.bottom - (area.bottom - area.top)) / 2);
    }
}

TEST(ErrorReportDialog, WithAnOwnerIsNoWindowOfTheTaskBar) {
    const ShownDialog dialog(title, [] {
        const HWND owner = CreateWindowExW(0, WC_STATICW, L"owner", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                           nullptr, nullptr);
        ErrorReportDialog(nullptr).Show(owner, withDetails);
        DestroyWindow(owner);
    });
    EXPECT_EQ(testsupport::WindowText(GetWindow(dialog.Window(), GW_OWNER)), L"owner");
    EXPECT_EQ(GetWindowLongPtrW(dialog.Window(), GWL_EXSTYLE) & WS_EX_APPWINDOW, 0);
}

TEST(ErrorReportDialog, WithoutAnOwnerIsAWindowOfTheTaskBar) {
    const ShownDialog dialog(title, Showing(withDetails));
    EXPECT_NE(GetWindowLongPtrW(dialog.Window(), GWL_EXSTYLE) & WS_EX_APPWINDOW, 0);
}

TEST(ErrorReportDialog, TheSendButtonHandsOverTheDetailsAndTheWindow) {
    RecordingReporter reporter;
    reporter.allowsDialog = true;
    reporter.canSend = true;
    const ShownDialog dialog(title, Showing(withDetails, &reporter));
    EXPECT_EQ(dialog.Text(Id::send), L"Send Error Report");
    dialog.Click(Id::send);
    ASSERT_THAT(reporter.sent, SizeIs(1));
    EXPECT_EQ(reporter.sent[0].details, L"the details\r\nof it");
    EXPECT_EQ(reporter.sent[0].dialog, dialog.Window());
}

TEST(ErrorReportDialog, SendingIsAskedForAgainOnTheButton) {
    RecordingReporter reporter;
    reporter.allowsDialog = true;
    reporter.canSend = true;
    const ShownDialog dialog(title, Showing(withDetails, &reporter));
    reporter.canSend = false;
    dialog.Click(Id::send);
    EXPECT_THAT(reporter.sent, SizeIs(0));
    EXPECT_EQ(reporter.canSendCalls, 2);
}

TEST(ErrorReportDialog, AnExceptionOfTheReporterEndsItAndThenGoesOn) {
    struct : RecordingReporter {
        void Send(const std::wstring&, HWND) override { throw 1; }
    } throwing;
    throwing.allowsDialog = true;
    throwing.canSend = true;
    std::atomic<bool> goesOn = false;
    ShownDialog dialog(title, [&] {
        try {
            ErrorReportDialog(&throwing).Show(nullptr, withDetails);
        } catch (int) {
            goesOn = true;
        }
    });
    PostMessageW(dialog.Control(Id::send), BM_CLICK, 0, 0);
    EXPECT_TRUE(dialog.Ends());
    EXPECT_TRUE(goesOn);
    EXPECT_FALSE(IsWindow(dialog.Window()));
}

TEST(ErrorReportDialog, WithoutDetailsOrLeaveThereIsNoSendButton) {
    RecordingReporter reporter;
    reporter.allowsDialog = true;
    EXPECT_FALSE(ShownDialog(title, Showing(withDetails, &reporter)).Has(Id::send));
    reporter.canSend = true;
    EXPECT_FALSE(ShownDialog(title, Showing(withoutDetails, &reporter)).Has(Id::send));
}

TEST(ErrorReportDialog, TheReporterCanKeepItAway) {
    RecordingReporter reporter;
    ErrorReportDialog(&reporter).Show(nullptr, withDetails); // returns although nobody closes a dialog
    ASSERT_THAT(reporter.shown, SizeIs(1));
    EXPECT_EQ(reporter.shown[0].title, title);
    EXPECT_EQ(reporter.shown[0].shortText, L"short text");
}

} // namespace
} // namespace keyreap
