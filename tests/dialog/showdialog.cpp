// Usage: show_dialog TITLE SHORT DETAILS [send]
// Shows the error dialog, with the send button if `send` is given. Writes a line for each change that a user
// can see or cause: "dialog" or "clipboard" with its state, "sent" with the details, and finally "ended".
#include "platform/core/errorreport/errorreportdialog.h"
#include "platform/core/errorreport/failurereporter.h"
#include "tests/dialog/dialogstate.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>

namespace {

using namespace keyreap;

void Report(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

class PrintingReporter : public FailureReporter {
public:
    void Record(const std::wstring&, const std::wstring&, const std::wstring&) override {}
    bool CanSend() override { return true; }
    void Send(const std::wstring& details, HWND) override {
        Report("sent " + std::to_string(details.size()));
    }
    std::wstring& GetText(std::wstring& text, bool) override { return text; }
    bool BeforeShow(HWND, const std::wstring&, const std::wstring&) override { return true; }
};

// Examines the dialog repeatedly from a thread of its own.
class Watcher {
public:
    explicit Watcher(std::wstring title) : title(std::move(title)) {}
    ~Watcher() {
        ended = true;
        thread.join();
    }

private:
    void Watch() {
        while (!ended) {
            if (const HWND dialog = FindWindowW(nullptr, title.c_str()); IsWindowVisible(dialog)) {
                ReportChange("dialog " + testsupport::DialogState(dialog), lastDialog);
            }
            if (const DWORD number = GetClipboardSequenceNumber(); number != lastClipboard) {
                lastClipboard = number;
                Report("clipboard " + testsupport::ClipboardState());
            }
            Sleep(20);
        }
    }

    static void ReportChange(const std::string& state, std::string& last) {
        if (state != last) {
            last = state;
            Report(state);
        }
    }

    std::wstring title;
    std::string lastDialog;
    DWORD lastClipboard = GetClipboardSequenceNumber();
    std::atomic<bool> ended = false;
    std::thread thread{[this] { Watch(); }};
};

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count < 4) {
        return 1;
    }
    PrintingReporter reporter;
    {
        const Watcher watcher(arguments[1]);
        ErrorReportDialog(count > 4 ? &reporter : nullptr)
            .Show(nullptr, {arguments[1], arguments[2], arguments[3]});
    }
    Report("ended");
    return 0;
}
