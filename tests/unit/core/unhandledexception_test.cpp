#include "platform/core/failurepresentation.h"
#include "platform/core/stacktrace/stacktracetext.h"
#include "platform/core/unhandledexception.h"
#include "tests/unit/core/recordingreporter.h"
#include "tests/unit/core/watchedprocess.h"
#include "tests/unit/stacktrace/capturedcontext.h"

#include <gmock/gmock.h>

#include <thread>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testsupport::RecordingReporter;
using testsupport::RecordingSink;
using testsupport::WatchedProcess;

class OnUnhandledExceptionTest : public testing::Test {
protected:
    OnUnhandledExceptionTest() {
        record.ExceptionCode = 0xC0000005;
        record.ExceptionAddress = reinterpret_cast<void*>(0x1234);
        FailurePresentation::OfProcess().SetFailureReporter(&reporter);
    }
    ~OnUnhandledExceptionTest() override {
        FailurePresentation::OfProcess().SetConsoleSink(nullptr);
        FailurePresentation::OfProcess().SetFailureReporter(nullptr);
    }

    RecordingSink console;
    RecordingReporter reporter;
    EXCEPTION_RECORD record = {};
    CONTEXT context = {};
    EXCEPTION_POINTERS pointers = {&record, &context};
};

const std::wstring firstLine = L"[EXCEPTION_UNHANDLED] (0xc0000005) at address [0x0000000000001234]\r\n";

TEST_F(OnUnhandledExceptionTest, WithoutPointersShowsNothing) {
    FailurePresentation::OfProcess().SetConsoleSink(&console);
    EXPECT_EQ(OnUnhandledException(nullptr), 1);
    EXPECT_THAT(console.texts, IsEmpty());
    EXPECT_THAT(reporter.recorded, IsEmpty());
}

TEST_F(OnUnhandledExceptionTest, OnTheConsoleThereIsNoTrace) {
    FailurePresentation::OfProcess().SetConsoleSink(&console);
    EXPECT_EQ(OnUnhandledException(&pointers), 1);
    EXPECT_THAT(console.texts, ElementsAre(firstLine + L"\r\n"));
}

TEST_F(OnUnhandledExceptionTest, InTheDialogTheTraceFollows) {
    testsupport::captureThisFunction(&context);
    EXPECT_EQ(OnUnhandledException(&pointers), 1);
    ASSERT_THAT(reporter.recorded, SizeIs(1));
    EXPECT_THAT(reporter.recorded[0].fullText, StartsWith(firstLine + std::wstring(StackTraceHeader)));
    EXPECT_THAT(reporter.recorded[0].fullText, HasSubstr(L"unhandledexception_test.cpp:"));
}

TEST_F(OnUnhandledExceptionTest, RecordsItsOwnKindAndPlace) {
    OnUnhandledException(&pointers);
    ASSERT_THAT(reporter.recorded, SizeIs(1));
    EXPECT_EQ(reporter.recorded[0].kindName, L"EXCEPTION_UNHANDLED");
    EXPECT_THAT(reporter.recorded[0].location, HasSubstr(L"exceptionhandling"));
}

TEST_F(OnUnhandledExceptionTest, HasNoOwnerForTheDialog) {
    OnUnhandledException(&pointers);
    ASSERT_THAT(reporter.shown, SizeIs(1));
    EXPECT_EQ(reporter.shown[0].owner, nullptr);
    EXPECT_EQ(reporter.shown[0].title, L"Error");
}

TEST_F(OnUnhandledExceptionTest, AnExceptionOfThePresentationStaysInside) {
    struct : RecordingReporter {
        void Record(const std::wstring&, const std::wstring&, const std::wstring&) override { throw 1; }
    } throwing;
    FailurePresentation::OfProcess().SetFailureReporter(&throwing);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(OnUnhandledException(&pointers), 1);
    }
    EXPECT_THAT(throwing.shown, SizeIs(2));
}

// The fault tests below show that the first call sets the filter.
TEST(InstallUnhandledExceptionFilter, ASecondCallLeavesAFilterThatOthersHaveSetInBetween) {
    constexpr DWORD endedByTheOtherFilter = 76;
    EXPECT_EQ(WatchedProcess(testsupport::FaultCommand(L"other-filter")).Wait(), endedByTheOtherFilter);
}

// The stack that the thread has reserved so far.
ULONG StackGuarantee() {
    ULONG bytes = 0;
    SetThreadStackGuarantee(&bytes);
    return bytes;
}

TEST(InstallUnhandledExceptionFilter, KeepsStackOnEachThreadThatCallsIt) {
    for (int i = 0; i < 2; ++i) {
        ULONG before = 1;
        ULONG after = 0;
        std::thread([&before, &after] {
            before = StackGuarantee();
            InstallUnhandledExceptionFilter();
            after = StackGuarantee();
        }).join();
        EXPECT_EQ(before, 0u);
        EXPECT_EQ(after, 128u * 1024);
    }
}

struct FaultRow {
    const wchar_t* fault;
    DWORD status;
};

std::string FaultName(const testing::TestParamInfo<FaultRow>& row) {
    std::string name;
    for (const wchar_t* unit = row.param.fault; *unit != 0; ++unit) {
        name += *unit == L'-' ? '_' : static_cast<char>(*unit);
    }
    return name;
}

class Faults : public testing::TestWithParam<FaultRow> {};

// Without a display no dialog can open, and the process must end all the same.
TEST_P(Faults, EndTheProcessWithTheirCodeAndUnwindNothing) {
    EXPECT_EQ(WatchedProcess(testsupport::FaultCommand(GetParam().fault)).Wait(), GetParam().status);
}

// Wine doesn't call the filter of a 32-bit process a second time, but ends the process with the code of the
// second fault.
constexpr DWORD whileShown = sizeof(void*) == 8 ? 0xC0000094 : 0xC0000005;

INSTANTIATE_TEST_SUITE_P(
    Structured, Faults,
    testing::Values(FaultRow{L"read-null", 0xC0000005}, FaultRow{L"read-bad", 0xC0000005},
                    FaultRow{L"write-null", 0xC0000005}, FaultRow{L"write-bad", 0xC0000005},
                    FaultRow{L"execute-null", 0xC0000005}, FaultRow{L"execute-bad", 0xC0000005},
                    FaultRow{L"divide", 0xC0000094}, FaultRow{L"illegal", 0xC000001D},
                    FaultRow{L"stack-overflow", 0xC00000FD}, FaultRow{L"breakpoint", 0x80000003},
                    FaultRow{L"own-code", 0xE0424242}, FaultRow{L"while-shown", whileShown}),
    FaultName);

#if !defined(_MSC_VER)
INSTANTIATE_TEST_SUITE_P(CompilersOwn, Faults,
                         testing::Values(FaultRow{L"throw", 0x20474343},
                                         FaultRow{L"throw-noexcept", 0x20474343}),
                         FaultName);
#endif

INSTANTIATE_TEST_SUITE_P(OfTheRunTime, Faults,
                         testing::Values(FaultRow{L"abort", 3}, FaultRow{L"terminate", 3}), FaultName);

} // namespace
} // namespace keyreap
