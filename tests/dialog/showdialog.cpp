// Usage: show_dialog TITLE SHORT DETAILS [send]
// Shows the error dialog, with the send button if told, and writes a line for each change that a user can see
// or bring about: "dialog" or "clipboard" with its state, "sent" with the details, and at last "ended".
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

void Tell(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

class TellingReporter : public FailureReporter {
public:
    void Record(const std::wstring&, const std::wstring&, const std::wstring&) override {}
    bool CanSend() override { return true; }
    void Send(const std::wstring& details, HWND) override { Tell("sent " + std::to_string(details.size())); }
    std::wstring& GetText(std::wstring& text, bool) override { return text; }
    bool BeforeShow(HWND, const std::wstring&, const std::wstring&) override { return true; }
};

// Looks at the dialog again and again from a thread of its own.
class Watcher {
public:
    explicit Watcher(std::wstring dialogTitle) : title(std::move(dialogTitle)) {}
    ~Watcher() {
        ended = true;
        thread.join();
    }

private:
    void Watch() {
        while (!ended) {
            if (const HWND dialog = FindWindowW(nullptr, title.c_str()); IsWindowVisible(dialog)) {
                TellChange("dialog " + testsupport::DialogState(dialog), lastDialog);
            }
            if (const DWORD number = GetClipboardSequenceNumber(); number != lastClipboard) {
                lastClipboard = number;
                Tell("clipboard " + testsupport::ClipboardState());
            }
            Sleep(20);
        }
    }

    static void TellChange(const std::string& state, std::string& last) {
        if (state != last) {
            last = state;
            Tell(state);
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
    TellingReporter reporter;
    {
        const Watcher watcher(arguments[1]);
        ErrorReportDialog(count > 4 ? &reporter : nullptr)
            .Show(nullptr, {arguments[1], arguments[2], arguments[3]});
    }
    Tell("ended");
    return 0;
}
