#include "platform/core/failurepresentation.h"
#include "platform/core/stacktrace/stacktracetext.h"
#include "tests/unit/core/recordingreporter.h"

#include <gmock/gmock.h>

// tests/dialog tests what a dialog shows and how the console looks; here a reporter keeps dialogs away.
namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testsupport::RecordingReporter;
using testsupport::RecordingSink;

const std::wstring trace = std::wstring(StackTraceHeader) + L"frames";
const Failure failure = {L"short", L"full" + trace, L"KIND", L"file.cpp:7"};

TEST(FailurePresentation, WithAConsoleSinkWritesTheFullTextAndALineEnd) {
    RecordingSink console;
    FailurePresentation presentation;
    presentation.SetConsoleSink(&console);
    presentation.ShowFailure(nullptr, failure);
    EXPECT_THAT(console.texts, ElementsAre(failure.fullText + L"\r\n"));
}

TEST(FailurePresentation, TheLogSinkGetsTheSameText) {
    RecordingSink console;
    RecordingSink log;
    FailurePresentation presentation;
    presentation.SetConsoleSink(&console);
    presentation.SetLogSink(&log);
    presentation.ShowFailure(nullptr, failure);
    EXPECT_EQ(log.texts, console.texts);
}

TEST(FailurePresentation, ALogSinkAloneIsNotWrittenTo) {
    RecordingSink log;
    RecordingReporter reporter;
    FailurePresentation presentation;
    presentation.SetLogSink(&log);
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(nullptr, failure);
    EXPECT_THAT(log.texts, IsEmpty());
    EXPECT_THAT(reporter.shown, SizeIs(1));
}

TEST(FailurePresentation, OnTheConsolePathNoDialogIsAskedFor) {
    RecordingSink console;
    RecordingReporter reporter;
    FailurePresentation presentation;
    presentation.SetConsoleSink(&console);
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(nullptr, failure);
    EXPECT_THAT(reporter.shown, IsEmpty());
    EXPECT_EQ(reporter.canSendCalls, 0);
}

TEST(FailurePresentation, RecordsOnBothPathsWhatWasGiven) {
    RecordingSink console;
    RecordingReporter reporter;
    reporter.banner = L"Banner";
    FailurePresentation presentation;
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(nullptr, failure);
    presentation.SetConsoleSink(&console);
    presentation.ShowFailure(nullptr, failure);
    ASSERT_THAT(reporter.recorded, SizeIs(2));
    for (const auto& recorded : reporter.recorded) {
        EXPECT_EQ(recorded.fullText, failure.fullText);
        EXPECT_EQ(recorded.kindName, L"KIND");
        EXPECT_EQ(recorded.location, L"file.cpp:7");
    }
}

TEST(FailurePresentation, TheBannerIsDirectlyBeforeTheTrace) {
    RecordingSink console;
    RecordingReporter reporter;
    reporter.banner = L"Banner";
    FailurePresentation presentation;
    presentation.SetConsoleSink(&console);
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(nullptr, failure);
    EXPECT_THAT(console.texts, ElementsAre(L"full\r\nBanner" + trace + L"\r\n"));
}

TEST(FailurePresentation, ATextWithoutATraceStaysWithoutTheBanner) {
    RecordingSink console;
    RecordingReporter reporter;
    reporter.banner = L"Banner";
    FailurePresentation presentation;
    presentation.SetConsoleSink(&console);
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(nullptr, {L"short", L"full", L"KIND", L"file.cpp:7"});
    EXPECT_THAT(console.texts, ElementsAre(L"full\r\n"));
}

TEST(FailurePresentation, FetchesBannerAndTitleOnceAndKeepsThem) {
    RecordingReporter reporter;
    reporter.title = L"First";
    FailurePresentation presentation;
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(nullptr, failure);
    reporter.title = L"Second";
    presentation.ShowFailure(nullptr, failure);
    EXPECT_EQ(reporter.textCalls, 2);
    ASSERT_THAT(reporter.shown, SizeIs(2));
    EXPECT_EQ(reporter.shown[1].title, L"First");
}

TEST(FailurePresentation, TextsFetchedWithoutAReporterStayEmpty) {
    RecordingSink console;
    RecordingReporter reporter;
    reporter.title = L"Title";
    FailurePresentation presentation;
    presentation.SetConsoleSink(&console);
    presentation.ShowFailure(nullptr, failure);
    presentation.SetConsoleSink(nullptr);
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(nullptr, failure);
    EXPECT_EQ(reporter.textCalls, 0);
    ASSERT_THAT(reporter.shown, SizeIs(1));
    EXPECT_EQ(reporter.shown[0].title, L"Error");
}

TEST(FailurePresentation, AsksBeforeItShowsWithTheTitleAndTheShortText) {
    RecordingReporter reporter;
    reporter.title = L"Title";
    FailurePresentation presentation;
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(GetDesktopWindow(), failure);
    ASSERT_THAT(reporter.shown, SizeIs(1));
    EXPECT_EQ(reporter.shown[0].owner, GetDesktopWindow());
    EXPECT_EQ(reporter.shown[0].title, L"Title");
    EXPECT_EQ(reporter.shown[0].shortText, L"short");
}

TEST(FailurePresentation, ADialogThatIsNotWantedIsRecordedAllTheSame) {
    RecordingReporter reporter;
    reporter.canSend = true;
    FailurePresentation presentation;
    presentation.SetFailureReporter(&reporter);
    presentation.ShowFailure(nullptr, failure);
    EXPECT_THAT(reporter.recorded, SizeIs(1));
    EXPECT_EQ(reporter.canSendCalls, 0);
}

TEST(FailurePresentation, TheMainWindowIsTheOwnerWhereNoneIsNamed) {
    RecordingReporter reporter;
    FailurePresentation presentation;
    presentation.SetFailureReporter(&reporter);
    presentation.SetMainWindow(GetDesktopWindow());
    presentation.ShowFailure(nullptr, failure);
    ASSERT_THAT(reporter.shown, SizeIs(1));
    EXPECT_EQ(reporter.shown[0].owner, GetDesktopWindow());
}

TEST(FailurePresentation, AnInvalidOwnerCountsAsNone) {
    RecordingReporter reporter;
    FailurePresentation presentation;
    presentation.SetFailureReporter(&reporter);
    presentation.SetMainWindow(GetDesktopWindow());
    presentation.ShowFailure(reinterpret_cast<HWND>(static_cast<INT_PTR>(0x7FFFFFF0)), failure);
    ASSERT_THAT(reporter.shown, SizeIs(1));
    EXPECT_EQ(reporter.shown[0].owner, nullptr);
}

TEST(WriteToSinks, IsTrueOnlyIfNoSinkFailed) {
    RecordingSink console;
    RecordingSink log;
    FailurePresentation presentation;
    EXPECT_TRUE(presentation.WriteToSinks(L"text"));
    presentation.SetConsoleSink(&console);
    presentation.SetLogSink(&log);
    EXPECT_TRUE(presentation.WriteToSinks(L"text"));
    console.succeeds = false;
    EXPECT_FALSE(presentation.WriteToSinks(L"text"));
    EXPECT_THAT(log.texts, SizeIs(2));
    console.succeeds = true;
    log.succeeds = false;
    EXPECT_FALSE(presentation.WriteToSinks(L"text"));
}

TEST(FailurePresentation, TheProcessHasOne) {
    EXPECT_EQ(&FailurePresentation::OfProcess(), &FailurePresentation::OfProcess());
}

} // namespace
} // namespace keyreap
