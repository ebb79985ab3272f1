#include "platform/core/errorreport/errorreporttemplate.h"
#include "platform/core/message.h"
#include "platform/core/messageids.h"
#include "platform/core/stacktrace/stacktracetext.h"
#include "tests/dialog/showndialog.h"
#include "tests/unit/core/watchedprocess.h"

#include <gmock/gmock.h>

// A fault as the user sees it: the dialog opens, and the process ends with the fault's code after the dialog
// is closed.
namespace keyreap {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testsupport::FaultCommand;
using testsupport::WatchedProcess;
using testsupport::WindowText;
using Id = ErrorReportControl;

HWND DialogOf(const WatchedProcess& process) {
    return testsupport::WaitForWindow([&process](HWND window) {
        DWORD id = 0;
        GetWindowThreadProcessId(window, &id);
        return id == process.Id() && WindowText(window) == L"Error";
    });
}

struct FaultRow {
    const wchar_t* fault;
    DWORD status;
    std::wstring firstLine;
};

std::string FaultName(const testing::TestParamInfo<FaultRow>& row) {
    std::string name;
    for (const wchar_t* unit = row.param.fault; *unit != 0; ++unit) {
        name += *unit == L'-' ? '_' : static_cast<char>(*unit);
    }
    return name;
}

class FaultDialog : public testing::TestWithParam<FaultRow> {};

TEST_P(FaultDialog, OpensAndThenTheProcessEndsWithTheCode) {
    const WatchedProcess process(FaultCommand(GetParam().fault));
    const HWND dialog = DialogOf(process);
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(WindowText(GetDlgItem(dialog, Id::message)), LoadResourceString(messageid::unhandledFailure));
    const std::wstring details = WindowText(GetDlgItem(dialog, Id::details));
    EXPECT_THAT(details, StartsWith(L"[EXCEPTION_UNHANDLED] (" + GetParam().firstLine + L") at address [0x"));
    EXPECT_THAT(details, HasSubstr(std::wstring(StackTraceHeader)));
    PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_EQ(process.Wait(), GetParam().status);
}

TEST(FaultDialogDetails, NameTheFunctionAndTheLineThatFaulted) {
    const WatchedProcess process(FaultCommand(L"divide"));
    const std::wstring details = WindowText(GetDlgItem(DialogOf(process), Id::details));
    EXPECT_THAT(details, HasSubstr(L"Divide"));
    EXPECT_THAT(details, HasSubstr(L"faultprogram.cpp:"));
}

std::wstring Variable(const wchar_t* name) {
    wchar_t value[1024] = {};
    EXPECT_NE(GetEnvironmentVariableW(name, value, 1024), 0u) << "a variable is not set";
    return value;
}

TEST(FaultDialogDetails, OfACaptureNameTheTargetsFunctionAndLine) {
    const std::wstring program = Variable(L"KEYREAP_STAGE") + L"\\x64\\Keyreap.exe";
    const std::wstring server = Variable(L"KEYREAP_SAMPLES") + L"\\x64\\faultDivideByZero.dll";
    const WatchedProcess process(L"\"" + program + L"\" extreg \"" + server + L"\" none.reg keyRedir");
    const HWND dialog = DialogOf(process);
    const std::wstring details = WindowText(GetDlgItem(dialog, Id::details));
    EXPECT_THAT(details, HasSubstr(L"DllRegisterServer() -> fault.cpp:"));
    EXPECT_THAT(details, HasSubstr(L"keyreap::NativeFileRegister::RegisterTarget() -> registertarget.cpp:"));
    PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_EQ(process.Wait(), 0xC0000094u);
}

INSTANTIATE_TEST_SUITE_P(Structured, FaultDialog,
                         testing::Values(FaultRow{L"read-null", 0xC0000005, L"0xc0000005"},
                                         FaultRow{L"write-bad", 0xC0000005, L"0xc0000005"},
                                         FaultRow{L"execute-bad", 0xC0000005, L"0xc0000005"},
                                         FaultRow{L"divide", 0xC0000094, L"0xc0000094"},
                                         FaultRow{L"illegal", 0xC000001D, L"0xc000001d"},
                                         FaultRow{L"stack-overflow", 0xC00000FD, L"0xc00000fd"},
                                         FaultRow{L"own-code", 0xE0424242, L"0xe0424242"}),
                         FaultName);

#if !defined(_MSC_VER)
INSTANTIATE_TEST_SUITE_P(CompilersOwn, FaultDialog,
                         testing::Values(FaultRow{L"throw", 0x20474343, L"0x20474343"}), FaultName);
#endif

} // namespace
} // namespace keyreap
