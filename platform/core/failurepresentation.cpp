#include "platform/core/failurepresentation.h"

#include "platform/core/errorreport/errorreportdialog.h"
#include "platform/core/errorreport/failurereporter.h"
#include "platform/core/stacktrace/stacktracetext.h"

namespace keyreap {

namespace {

// Sets the console's colours to bright red on black for the life of the object.
class RedConsole {
public:
    RedConsole() {
        GetConsoleScreenBufferInfo(console, &saved);
        SetConsoleTextAttribute(console, FOREGROUND_RED | FOREGROUND_INTENSITY);
    }
    ~RedConsole() { SetConsoleTextAttribute(console, saved.wAttributes); }
    RedConsole(const RedConsole&) = delete;
    RedConsole& operator=(const RedConsole&) = delete;

private:
    HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    CONSOLE_SCREEN_BUFFER_INFO saved = {};
};

} // namespace

FailurePresentation& FailurePresentation::OfProcess() {
    static FailurePresentation presentation;
    return presentation;
}

void FailurePresentation::ShowFailure(HWND owner, const Failure& failure) {
    FetchReporterTexts();
    if (HasConsole()) {
        ShowOnConsole(failure);
    } else {
        ShowInDialog(owner, failure);
    }
    if (failureReporter) {
        failureReporter->Record(failure.fullText, failure.kindName, failure.location);
    }
}

void FailurePresentation::FetchReporterTexts() {
    if (!banner) {
        banner = ReporterText(true);
        title = ReporterText(false);
    }
}

std::wstring FailurePresentation::ReporterText(bool wantBanner) const {
    std::wstring text;
    return failureReporter ? failureReporter->GetText(text, wantBanner) : text;
}

void FailurePresentation::ShowOnConsole(const Failure& failure) const {
    const RedConsole red;
    WriteToSinks(InsertBanner(failure.fullText, *banner));
}

void FailurePresentation::ShowInDialog(HWND owner, const Failure& failure) const {
    const HWND parent = owner ? owner : mainWindow;
    ErrorReportText text = {*title, failure.shortText, {}};
    if (text.title.empty()) {
        text.title = L"Error";
    }
    if (failure.fullText != failure.shortText) {
        text.details = InsertBanner(failure.fullText, *banner);
    }
    ErrorReportDialog(failureReporter).Show(IsWindow(parent) ? parent : nullptr, text);
}

bool FailurePresentation::WriteToSinks(const std::wstring& text) const {
    bool written = true;
    for (FailureSink* sink : {consoleSink, logSink}) {
        if (sink && !sink->Write(text + L"\r\n")) {
            written = false;
        }
    }
    return written;
}

} // namespace keyreap
