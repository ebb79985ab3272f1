#include "hostlogger/requestlog.h"

#include "hostlogger/nativeregistry.h"
#include "hostlogger/systemfolder.h"

#include <windows.h>

namespace keyreap {

namespace {

constexpr std::wstring_view logName = L"\\keyreap-requests.log"; // in the system's folder
constexpr std::wstring_view startName = L"\\keyreap-start.txt";  // in the system's folder
constexpr std::wstring_view hostName = L"\\keyreap-host.txt";    // in the system's folder
constexpr ULONGLONG patience = 10'000;                           // milliseconds without a new line in the log
constexpr DWORD pause = 1;                                       // milliseconds between two reads

// A name that is opened only to be found in the log. Process ids are reused within a log, times are not.
std::wstring NextMark() {
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    return std::wstring(markPrefix) + std::to_wstring(GetCurrentProcessId()) + L' ' +
           std::to_wstring(now.QuadPart);
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

bool RequestLog::FeedLines(KeyRequestListener* listener, std::wstring_view mark) {
    MarkFinder finder(listener, mark);
    std::size_t start = 0;
    std::size_t end = 0;
    while (!finder.Found() && (end = unread.find('\n', start)) != std::string::npos) {
        tracker.Feed(std::string_view(unread).substr(start, end - start), &finder);
        start = end + 1;
    }
    unread.erase(0, start);
    complete = complete && !finder.Lost();
    return finder.Found();
}

bool RequestLog::ReadToNow(KeyRequestListener* listener) {
    const std::wstring mark = NextMark();
    LookAtNativeKey(mark);
    return ReadTo(mark, listener);
}

bool RequestLog::ReadTo(const std::wstring& mark, KeyRequestListener* listener) {
    facts.Forget();
    ULONGLONG lastGrowth = GetTickCount64();
    while (!FeedLines(listener, mark)) {
        if (ReadSome()) {
            lastGrowth = GetTickCount64();
        } else if (GetTickCount64() - lastGrowth >= patience) {
            return false;
        } else {
            Sleep(pause);
        }
    }
    lastMark = mark;
    return true;
}

} // namespace keyreap
