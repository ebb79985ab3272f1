#include "hostlogger/requestlog.h"

#include "hostlogger/nativeregistry.h"
#include "hostlogger/requestsummary.h"
#include "hostlogger/systemfolder.h"

#include <windows.h>

namespace keyreap {

namespace {

constexpr std::wstring_view logName = L"\\keyreap-requests.log"; // in the system's folder
constexpr std::wstring_view startName = L"\\keyreap-start.txt";  // in the system's folder
constexpr std::wstring_view hostName = L"\\keyreap-host.txt";    // in the system's folder
constexpr unsigned patience = 10'000;                            // milliseconds without a new line in the log
constexpr unsigned summaryPatience = 2'000;                      // the same for a summary
constexpr DWORD pause = 1;                                       // milliseconds between two reads

// A name that is opened only to be found in the log. Process ids are reused within a log, times are not.
std::wstring NextMark() {
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    return std::wstring(markPrefix) + std::to_wstring(GetCurrentProcessId()) + L' ' +
           std::to_wstring(now.QuadPart);
}

// A mark as the log's own lines have it: marks are ASCII.
std::string NarrowMark(std::wstring_view mark) {
    std::string narrow;
    for (const wchar_t unit : mark) {
        narrow += static_cast<char>(unit);
    }
    return narrow;
}

// Forwards everything ahead of the mark.
class MarkFinder : public KeyRequestListener {
public:
    MarkFinder(KeyRequestListener* next, std::wstring_view mark) : next(next), mark(mark) {}

    bool WantsKeyRequests() const override { return next && !found && next->WantsKeyRequests(); }
    void OnKeyRequest(const KeyRequest& request) override { next->OnKeyRequest(request); }
    void OnSystemRequest(const KeyRequest& request) override { next->OnSystemRequest(request); }
    void OnProcessStart(const ProcessStart& start) override {
        if (next) {
            next->OnProcessStart(start);
        }
    }
    void OnLostLines() override { lost = true; }
    void OnMissingKey(const std::wstring& name) override {
        found = name == mark;
        if (next && !found) {
            next->OnMissingKey(name);
        }
    }

    bool Found() const { return found; }
    bool Lost() const { return lost; }

private:
    KeyRequestListener* next;
    std::wstring_view mark;
    bool found = false;
    bool lost = false;
};

OwnedFile OpenToRead(const std::wstring& path) {
    return OwnedFile(CreateFileW(path.c_str(), GENERIC_READ,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Appends the next part of the file to the text. False at the end of the file.
bool AppendChunk(HANDLE file, std::string& text) {
    constexpr std::size_t chunk = std::size_t{256} * 1024;
    const std::size_t size = text.size();
    text.resize(size + chunk);
    DWORD got = 0;
    if (!ReadFile(file, text.data() + size, static_cast<DWORD>(chunk), &got, nullptr)) {
        got = 0;
    }
    text.resize(size + got);
    return got != 0;
}

// Empty if there is no such file.
std::string ReadText(const std::wstring& path) {
    const OwnedFile file = OpenToRead(path);
    std::string text;
    while (file.Valid() && AppendChunk(file.Get(), text)) {
    }
    return text;
}

} // namespace

std::wstring RequestLogPath() {
    return SystemFolder() + std::wstring(logName);
}

std::wstring SystemStartPath() {
    return SystemFolder() + std::wstring(startName);
}

std::wstring HostDescriptionPath() {
    return SystemFolder() + std::wstring(hostName);
}

bool RequestLog::Open() {
    if (!file.Valid()) {
        file = OpenToRead(path);
        host = Strictness::Parse(ReadText(HostDescriptionPath()));
        tracker.SetSystemStart(SystemStart::Parse(ReadText(SystemStartPath())));
        tracker.SetStrictness(host);
    }
    return file.Valid();
}

bool RequestLog::ReadSome() {
    return AppendChunk(file.Get(), unread);
}

void RequestLog::GoTo(std::int64_t offset) {
    LARGE_INTEGER place{};
    place.QuadPart = offset;
    SetFilePointerEx(file.Get(), place, nullptr, FILE_BEGIN);
    unread.clear();
}

RequestLog::Progress RequestLog::FeedLines(KeyRequestListener* listener, std::wstring_view mark) {
    MarkFinder finder(listener, mark);
    Progress progress = Progress::waits;
    std::size_t start = 0;
    std::size_t end = 0;
    while (progress == Progress::waits && (end = unread.find('\n', start)) != std::string::npos) {
        const std::string_view line = std::string_view(unread).substr(start, end - start);
        if (tracker.AwaitsSummary() && MarkOf(line) == NarrowMark(mark)) {
            progress = Progress::noSummary;
        } else {
            tracker.Feed(line, &finder);
            progress = finder.Found() ? Progress::found : Progress::waits;
        }
        start = end + 1;
    }
    unread.erase(0, start);
    complete = complete && !finder.Lost();
    return progress;
}

RequestLog::Progress RequestLog::ReadUntil(KeyRequestListener* listener, std::wstring_view mark,
                                           unsigned longest) {
    ULONGLONG lastGrowth = GetTickCount64();
    Progress progress = FeedLines(listener, mark);
    while (progress == Progress::waits) {
        if (ReadSome()) {
            lastGrowth = GetTickCount64();
        } else if (GetTickCount64() - lastGrowth >= longest) {
            break;
        } else {
            Sleep(pause);
        }
        progress = FeedLines(listener, mark);
    }
    return progress;
}

// From the place on where the log ended before the mark was written.
RequestLog::Progress RequestLog::ReadSummary(const std::wstring& mark, std::int64_t end) {
    facts.Forget();
    GoTo(end);
    tracker.AwaitSummary(NarrowMark(mark));
    const Progress progress = ReadUntil(nullptr, mark, summaryPatience);
    if (tracker.AwaitsSummary()) {
        tracker.AwaitNothing();
        GoTo(0);
        return Progress::noSummary;
    }
    lastMark = mark;
    return progress;
}

bool RequestLog::ReadToNow(KeyRequestListener* listener) {
    LARGE_INTEGER end{};
    const bool needsNoPast = !begun && !listener && GetFileSizeEx(file.Get(), &end);
    const std::wstring mark = NextMark();
    LookAtNativeKey(mark);
    if (needsNoPast) {
        begun = true;
        if (const Progress progress = ReadSummary(mark, end.QuadPart); progress != Progress::noSummary) {
            return progress == Progress::found;
        }
    }
    return ReadTo(mark, listener);
}

bool RequestLog::ReadTo(const std::wstring& mark, KeyRequestListener* listener) {
    begun = true;
    facts.Forget();
    if (ReadUntil(listener, mark, patience) != Progress::found) {
        return false;
    }
    lastMark = mark;
    return true;
}

} // namespace keyreap
