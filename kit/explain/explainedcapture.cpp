#include "kit/explain/explainedcapture.h"

#include "extract/nativefileregister/nativefileregister.h"
#include "kit/explain/liveregistry.h"
#include "kit/explain/observedtracing.h"
#include "kit/explain/requeststory.h"
#include "kit/explain/tracestorysource.h"
#include "platform/os/file/temporaryfiles.h"
#include "platform/os/ownedhandle.h"
#include "platform/os/winehost.h"
#include "regmodel/regtextreader.h"
#include "trace/replay/controlsets.h"
#include "trace/replay/systemnamerules.h"
#include "trace/replay/tracereplay.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace keyreap {

namespace {

std::wstring TemporaryPrefix() {
    return std::wstring(productPath) + temporaryName;
}

// 0 for a file that can't be opened.
std::uint64_t SizeOf(const std::wstring& file) {
    const OwnedFile opened(CreateFileW(file.c_str(), GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    return opened.Valid() && GetFileSizeEx(opened.Get(), &size) ? static_cast<std::uint64_t>(size.QuadPart)
                                                                : 0;
}

// The .reg file, which is removed with this object.
class ResultFile {
public:
    ResultFile() : path(CreateTempFileWithExtension(L"exp", L"reg")) {}
    ~ResultFile() { DeleteFileW(path.ExtendedLengthForm().c_str()); }
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    const WidePath& Path() const { return path; }

    // None if it is no whole .reg file.
    std::optional<RegDocument> Read() const {
        std::ifstream stream(std::filesystem::path(path.ExtendedLengthForm()), std::ios::binary);
        const std::vector<std::uint8_t> bytes(std::istreambuf_iterator<char>(stream), {});
        auto document = ReadRegDocument(bytes);
        auto* const whole = std::get_if<RegDocument>(&document);
        return whole ? std::optional(std::move(*whole)) : std::nullopt;
    }

private:
    WidePath path;
};

bool IsFromTrace(const ExplainRequest& request) {
    return request.isFromTrace || !RunsOnWine();
}

std::unique_ptr<StorySource> SourceFor(const ExplainRequest& request) {
    if (IsFromTrace(request)) {
        return std::make_unique<TraceStorySource>(HostEventTracing(), request.mode == CaptureMode::keyRedir);
    }
    return std::make_unique<RequestStorySource>();
}

// What a capture is explained from, collected while it runs.
class Observation {
public:
    explicit Observation(const ExplainRequest& request)
        : source(SourceFor(request)), tracing(HostEventTracing()), server(request.server) {
        tracing.SetCeiling(request.ceiling);
        if (IsFromTrace(request)) {
            tracing.AddProcesses();
        }
        tracing.onStart = [this] { source->OnStart(); };
        tracing.onStopped = [this] { source->OnStopped(); };
        tracing.onRead = [this](const std::wstring& file) { TakeTrace(file); };
    }

    StorySource& Source() { return *source; }
    EventTracing& Tracing() { return tracing; }

    CaptureFacts Facts(const Story& story) {
        CaptureFacts facts;
        facts.ownProcess = source->ProcessOf(GetCurrentProcessId());
        facts.ownThread = GetCurrentThreadId();
        facts.serverProcess = ServerProcess(story);
        facts.temporaryPrefix = TemporaryPrefix();
        facts.log = tracing.HasStarted() ? &log : nullptr;
        facts.isLogFull = isLogFull;
        return facts;
    }

private:
    void TakeTrace(const std::wstring& file) {
        source->OnRead(file);
        const Story& story = source->SoFar();
        const std::size_t process = ServerProcess(story);
        LoadTrace(log, HostEventTracing(), file, GetCurrentProcessId(),
                  process == noIndex ? 0 : story.processes[process].id);
        PruneControlSets(log, true, TemporaryPrefix());
        constexpr std::uint64_t megabyte = std::uint64_t{1024} * 1024;
        constexpr std::uint64_t buffer = std::uint64_t{128} * 1024;
        isLogFull = SizeOf(file) + buffer >= tracing.Ceiling() * megabyte;
    }

    // The last process of the server's image that this process has started: an earlier one only tried
    // whether it can be started.
    std::size_t ServerProcess(const Story& story) const {
        const std::wstring image = server.FileName();
        const std::size_t own = source->ProcessOf(GetCurrentProcessId());
        std::size_t last = noIndex;
        for (std::size_t i = 0; i < story.processes.size(); ++i) {
            const StoryProcess& process = story.processes[i];
            const bool isServer = process.isOfCapture && CanBeImage(process.imageName, image);
            last = isServer && process.parent == own ? i : last;
        }
        return last;
    }

    std::unique_ptr<StorySource> source;
    ObservedTracing tracing;
    WidePath server;
    SystemNameRules rules;
    RegistryLog log{rules};
    bool isLogFull = false;
};

} // namespace

double ClockSeconds() {
    LARGE_INTEGER now{};
    LARGE_INTEGER frequency{};
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double ProcessorSeconds() {
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user);
    constexpr double ticksPerSecond = 10'000'000;
    const auto ticks = [](const FILETIME& time) {
        return static_cast<double>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) |
                                   time.dwLowDateTime);
    };
    return (ticks(kernel) + ticks(user)) / ticksPerSecond;
}

std::optional<ExplainedCapture> CaptureAndExplain(const ExplainRequest& request, std::wstring& failure) {
    Observation observation(request);
    if (!observation.Source().Begin(failure)) {
        return {};
    }
    const ResultFile file;
    NativeFileRegister session(WidePath(request.server), file.Path(), request.mode, observation.Tracing());
    if (!session.Register()) {
        failure = L"it can't be registered, so there is no result";
        return {};
    }
    const std::optional<RegDocument> document = file.Read();
    if (!document) {
        failure = L"its result is no .reg file that can be read";
        return {};
    }
    if (!observation.Source().End(failure)) {
        return {};
    }
    ExplainedCapture capture;
    capture.clockSeconds = ClockSeconds();
    capture.processorSeconds = ProcessorSeconds();
    ExplainedStory& explained = capture.explained;
    explained.story = observation.Source().Take();
    const CaptureFacts facts = observation.Facts(explained.story);
    const ResultIndex result(*document);
    LiveRegistry live;
    Judge judge(explained.story, facts, result, live);
    explained.verdicts = judge.Verdicts();
    explained.Number();
    explained.isFromTrace = facts.log != nullptr;
    explained.isRedirected = judge.SawTemporaryTree();
    return capture;
}

} // namespace keyreap
