#include "platform/core/exceptionhandling.h"
#include "platform/core/exceptionpresenter.h"
#include "platform/core/message.h"
#include "platform/core/messageids.h"
#include "platform/core/stacktrace/stacktracetext.h"
#include "tests/unit/core/recordingreporter.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace keyreap {
namespace {

using testing::HasSubstr;
using testing::SizeIs;
using testsupport::RecordingReporter;

const std::wstring trace = std::wstring(StackTraceHeader) + L"frames";

class ExceptionPresenterTest : public testing::Test {
protected:
    ExceptionPresenterTest() { presentation.SetFailureReporter(&reporter); }

    void ExpectPresented(const std::wstring& shortText, const std::wstring& fullText,
                         const std::wstring& kindName) {
        ASSERT_THAT(reporter.shown, SizeIs(1));
        EXPECT_EQ(reporter.shown[0].shortText, shortText);
        ASSERT_THAT(reporter.recorded, SizeIs(1));
        EXPECT_EQ(reporter.recorded[0].fullText, fullText);
        EXPECT_EQ(reporter.recorded[0].kindName, kindName);
    }

    RecordingReporter reporter;
    FailurePresentation presentation;
    ExceptionPresenter presenter{presentation};
};

TEST_F(ExceptionPresenterTest, AnExceptionsShortTextEndsBeforeItsTrace) {
    presenter.PresentException(Exception(L"C:\\src\\file.cpp", 7, L"What failed." + trace), nullptr);
    ExpectPresented(L"What failed.", L"What failed." + trace, L"EXCEPTION_GENERIC");
    EXPECT_EQ(reporter.recorded[0].location, L"file.cpp:7");
}

TEST_F(ExceptionPresenterTest, AnExceptionWithoutATraceIsShownWhole) {
    presenter.PresentException(Exception(L"file.cpp", 7, L"What failed."), nullptr);
    ExpectPresented(L"What failed.", L"What failed.", L"EXCEPTION_GENERIC");
}

TEST_F(ExceptionPresenterTest, AStructuredExceptionsShortTextIsFixed) {
    presenter.PresentException(SehException(L"file.cpp", 7, SehKind::SEH_AV_WRITE_BADPTR, L"Fault." + trace),
                               nullptr);
    ExpectPresented(LoadResourceString(messageid::unhandledFailure), L"Fault." + trace,
                    L"SEH_AV_WRITE_BADPTR");
}

TEST_F(ExceptionPresenterTest, AStandardExceptionHasItsOwnKindAndThePresentersPlace) {
    presenter.PresentStandardException(std::runtime_error("out of luck"), nullptr);
    ExpectPresented(L"out of luck", L"out of luck", L"EXCEPTION_STD");
    EXPECT_THAT(reporter.recorded[0].location, HasSubstr(L"exceptionpresenter"));
}

TEST_F(ExceptionPresenterTest, AStandardExceptionsShortTextEndsBeforeItsTrace) {
    const std::string narrowTrace(trace.begin(), trace.end());
    presenter.PresentStandardException(std::runtime_error("out of luck" + narrowTrace), nullptr);
    ExpectPresented(L"out of luck", L"out of luck" + trace, L"EXCEPTION_STD");
}

TEST_F(ExceptionPresenterTest, HandsTheOwnerOn) {
    presenter.PresentException(Exception(L"file.cpp", 7, L"What failed."), GetDesktopWindow());
    presenter.PresentStandardException(std::runtime_error("out of luck"), GetDesktopWindow());
    ASSERT_THAT(reporter.shown, SizeIs(2));
    EXPECT_EQ(reporter.shown[0].owner, GetDesktopWindow());
    EXPECT_EQ(reporter.shown[1].owner, GetDesktopWindow());
}

} // namespace
} // namespace keyreap
