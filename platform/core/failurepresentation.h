#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace keyreap {

class FailureReporter;
class FailureSink;

// A failure as it is presented: the short text, the whole with its trace, the name of its kind, where it was
// raised.
struct Failure {
    std::wstring shortText;
    std::wstring fullText;
    std::wstring kindName;
    std::wstring location;
};

// Shows failures to the user: as red text on the console where a console sink is set, else in the error
// dialog. The slots start empty and this program fills none; what is set has to outlive its use.
class FailurePresentation {
public:
    // The one of the process.
    static FailurePresentation& OfProcess();

    // Selects the console path, and gets the text there.
    void SetConsoleSink(FailureSink* sink) { consoleSink = sink; }
    // Gets the same text on the console path.
    void SetLogSink(FailureSink* sink) { logSink = sink; }
    void SetFailureReporter(FailureReporter* reporter) { failureReporter = reporter; }
    // The owner of the dialog where the caller names none.
    void SetMainWindow(HWND window) { mainWindow = window; }

    bool HasConsole() const { return consoleSink != nullptr; }

    // Returns when the user has closed the dialog. The reporter's banner and title are fetched at the first
    // call and kept, also if they are empty.
    void ShowFailure(HWND owner, const Failure& failure);

    // Gives each sink the text and a line end behind it. True if none of them failed.
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
