// Captures the pairs of its command line as the program does, but shows no dialog for a fault: it prints the
// text that the dialog's details would have.
#include "extract/extractcommand.h"
#include "platform/core/errorreport/failurereporter.h"
#include "platform/core/failurepresentation.h"
#include "platform/core/text/text.h"

#include <cstdio>

namespace {

class PrintingReporter : public keyreap::FailureReporter {
public:
    void Record(const std::wstring& fullText, const std::wstring&, const std::wstring&) override {
        std::fputs(keyreap::WideToMultiByte(fullText, CP_UTF8).c_str(), stdout);
        std::fflush(stdout);
    }
    bool CanSend() override { return false; }
    void Send(const std::wstring&, HWND) override {}
    std::wstring& GetText(std::wstring& text, bool) override { return text; }
    bool BeforeShow(HWND, const std::wstring&, const std::wstring&) override { return false; }
};

} // namespace

int wmain(int argumentCount, wchar_t* arguments[]) {
    PrintingReporter reporter;
    keyreap::FailurePresentation::OfProcess().SetFailureReporter(&reporter);
    const keyreap::ExtractCommand command({arguments + 1, static_cast<std::size_t>(argumentCount - 1)});
    return command.RegisterNativeFiles();
}
