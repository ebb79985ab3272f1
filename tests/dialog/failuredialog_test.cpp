#include "platform/core/errorreport/errorreporttemplate.h"
#include "platform/core/exceptionhandling.h"
#include "platform/core/exceptionpresenter.h"
#include "platform/core/failurepresentation.h"
#include "platform/core/stacktrace/stacktracetext.h"
#include "tests/dialog/showndialog.h"
#include "tests/unit/core/recordingreporter.h"

#include <gmock/gmock.h>

// The parts of a failure that reach the dialog.
namespace keyreap {
namespace {

using testing::SizeIs;
using testsupport::RecordingReporter;
using testsupport::ShownDialog;
using Id = ErrorReportControl;

const std::wstring trace = std::wstring(StackTraceHeader) + L"frames";

class FailureDialog : public testing::Test {
protected:
    FailureDialog() { reporter.allowsDialog = true; }

    std::function<void()> Showing(const Failure& failure) {
        return [this, failure] { presentation.ShowFailure(nullptr, failure); };
    }

    RecordingReporter reporter;
    FailurePresentation presentation;
};

TEST_F(FailureDialog, ShowsTheShortTextAndTheFullOneAsDetails) {
    const ShownDialog dialog(L"Error", Showing({L"short", L"full" + trace, L"KIND", L"file.cpp:7"}));
    EXPECT_EQ(dialog.Text(Id::message), L"short");
    EXPECT_EQ(dialog.Text(Id::details), L"full" + trace);
}

TEST_F(FailureDialog, AFailureWithOnlyAShortTextHasNoDetails) {
    const ShownDialog dialog(L"Error", Showing({L"the same", L"the same", L"KIND", L"file.cpp:7"}));
    EXPECT_FALSE(dialog.Has(Id::toggle));
    EXPECT_FALSE(dialog.Has(Id::details));
}

TEST_F(FailureDialog, TextsThatDifferInCaseAloneAreNotTheSame) {
    const ShownDialog dialog(L"Error", Showing({L"the same", L"the Same", L"KIND", L"file.cpp:7"}));
    EXPECT_EQ(dialog.Text(Id::details), L"the Same");
}

TEST_F(FailureDialog, HasTheReportersTitleAndBanner) {
    reporter.title = L"Velmoro";
    reporter.banner = L"Banner";
    presentation.SetFailureReporter(&reporter);
    const ShownDialog dialog(L"Velmoro", Showing({L"short", L"full" + trace, L"KIND", L"file.cpp:7"}));
    EXPECT_EQ(dialog.Text(Id::details), L"full\r\nBanner" + trace);
}

TEST_F(FailureDialog, ATextWithoutATraceHasNoBanner) {
    reporter.banner = L"Banner";
    presentation.SetFailureReporter(&reporter);
    const ShownDialog dialog(L"Error", Showing({L"short", L"full", L"KIND", L"file.cpp:7"}));
    EXPECT_EQ(dialog.Text(Id::details), L"full");
}

TEST_F(FailureDialog, IsRecordedOnceTheUserHasClosedIt) {
    presentation.SetFailureReporter(&reporter);
    {
        ShownDialog dialog(L"Error", Showing({L"short", L"full", L"KIND", L"file.cpp:7"}));
        EXPECT_THAT(reporter.recorded, SizeIs(0));
    }
    EXPECT_THAT(reporter.recorded, SizeIs(1));
}

TEST_F(FailureDialog, ADestroyedOwnerCountsAsNone) {
    presentation.SetMainWindow(reinterpret_cast<HWND>(static_cast<INT_PTR>(0x7FFFFFF0)));
    const ShownDialog dialog(L"Error", Showing({L"short", L"full", L"KIND", L"file.cpp:7"}));
    EXPECT_EQ(GetWindow(dialog.Window(), GW_OWNER), nullptr);
}

TEST_F(FailureDialog, PresentsAnExceptionWithItsTraceInTheDetails) {
    ExceptionPresenter presenter(presentation);
    const ShownDialog dialog(L"Error", [&presenter] {
        presenter.PresentException(Exception(L"file.cpp", 7, L"What failed." + trace), nullptr);
    });
    EXPECT_EQ(dialog.Text(Id::message), L"What failed.");
    EXPECT_EQ(dialog.Text(Id::details), L"What failed." + trace);
}

} // namespace
} // namespace keyreap
