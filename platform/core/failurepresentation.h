#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace keyreap {

class FailureReporter;
class FailureSink;

// A failure as it is presented: the short text, the full text with its trace, the name of its kind, and the
// place that raised it.
struct Failure {
    std::wstring shortText;
    std::wstring fullText;
    std::wstring kindName;
    std::wstring location;
};

// Shows failures to the user: as red text on the console if a console sink is set, otherwise in the error
// dialog. All slots start empty, and this program fills none of them. What a slot holds must outlive its use.
class FailurePresentation {
public:
    // The one object of the process.
    static FailurePresentation& OfProcess();

    // If set, failures go to the console, and this sink gets the text.
    void SetConsoleSink(FailureSink* sink) { consoleSink = sink; }
    // Gets the same text, if there is a console sink.
    void SetLogSink(FailureSink* sink) { logSink = sink; }
    void SetFailureReporter(FailureReporter* reporter) { failureReporter = reporter; }
    // The owner of the dialog if the caller names none.
    void SetMainWindow(HWND window) { mainWindow = window; }

    bool HasConsole() const { return consoleSink != nullptr; }

    // Returns when the user has closed the dialog. The reporter's banner and title are fetched at the first
    // call and kept, even if they are empty.
    void ShowFailure(HWND owner, const Failure& failure);

    // Gives each sink the text and a line end after it. True if no sink failed.
    bool WriteToSinks(const std::wstring& text) const;

private:
    void FetchReporterTexts();
    std::wstring ReporterText(bool wantBanner) const;
    void ShowOnConsole(const Failure& failure) const;
    void ShowInDialog(HWND owner, const Failure& failure) const;

    FailureSink* consoleSink = nullptr;
    FailureSink* logSink = nullptr;
    FailureReporter* failureReporter = nullptr;
    HWND mainWindow = nullptr;
    std::optional<std::wstring> banner;
    std::optional<std::wstring> title;
};

} // namespace keyreap
