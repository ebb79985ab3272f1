#include "tools/selfcheck/recording.h"

#include "etl/etlfile.h"
#include "etl/etlreader.h"
#include "tools/selfcheck/captures.h"
#include "tools/selfcheck/childprogram.h"
#include "tools/selfcheck/comparison.h"
#include "tools/selfcheck/eventreport.h"
#include "tools/selfcheck/suitelist.h"
#include "trace/registrytrace.h"

#include <windows.h>

#include <map>
#include <string>

namespace keyreap {

namespace {

constexpr DWORD recordingTime = 5'000;
constexpr char sampleName[] = "writing.exe";
constexpr char sampleGolden[] = "writing-traced.reg";
constexpr DWORD longestSample = 60'000;

std::uint64_t eventsOfTheSystem = 0;

void WINAPI CountEvent(EVENT_TRACE*) {
    ++eventsOfTheSystem;
}

ULONG WINAPI ContinueAfterBuffer(EVENT_TRACE_LOGFILEW*) {
    return TRUE;
}

// How many events the system's own reader delivers.
std::uint64_t CountBySystem(std::wstring log) {
    eventsOfTheSystem = 0;
    EVENT_TRACE_LOGFILEW file{};
    file.LogFileName = log.data();
    file.EventCallback = CountEvent;
    file.BufferCallback = ContinueAfterBuffer;
    EventTracing& tracing = HostEventTracing();
    TRACEHANDLE handle = tracing.Open(file);
    if (handle != INVALID_PROCESSTRACE_HANDLE) {
        tracing.Process(handle);
        tracing.Close(handle);
    }
    return eventsOfTheSystem;
}

class Recorder {
public:
    Recorder(const Places& places, const Vocabulary& vocabulary)
        : places(places), vocabulary(vocabulary), log(places.logs / "recording.etl") {
        part.name = "recording.txt";
        for (const std::vector<std::string>& row : ReadTable(ContentOf(places.folder / "expected.txt"))) {
            expected[row.front()] = row.back();
        }
    }

    void Record() {
        DeleteSamplesKeys();
        const ULONG status = RecordSamples();
        Compare("status of the start", std::to_string(status));
        if (status == 0) {
            Read();
        }
        std::filesystem::remove(log);
        DeleteSamplesKeys();
    }
    const ReportPart& Part() const { return part; }

private:
    // The status of the logger's start.
    ULONG RecordSamples() {
        RegistryTrace trace(log.wstring(), kernelLoggerSession);
        const ULONG status = trace.Start();
        if (status == 0) {
            const ULONGLONG begin = GetTickCount64();
            for (const std::string_view bitness : bitnesses) {
                RunSample(std::string(bitness));
            }
            const ULONGLONG passed = GetTickCount64() - begin;
            Sleep(passed < recordingTime ? static_cast<DWORD>(recordingTime - passed) : 0);
            Compare("stopped", trace.Stop() ? "yes" : "no");
        }
        return status;
    }

    void RunSample(const std::string& bitness) {
        const std::filesystem::path sample = places.samples / bitness / sampleName;
        const ChildEnd end =
            RunChild(Quoted(sample) + L" /REGSERVER", places.logs / "sample.txt", longestSample);
        Compare("end of " + bitness, EndText(end));
        if (end.processId != 0) {
            samples[end.processId] = bitness;
        }
    }

    void Read() {
        EtlFileSource source(log);
        EtlReader reader(source);
        if (!reader.Open()) {
            Compare("readable", "no");
            return;
        }
        EventReport report(samples, reader.Header().pointerSize, vocabulary);
        Compare("readable", reader.Process(report) ? "yes" : "no");
        ReportHeader(reader.Header(), reader.Statistics());
        ReportEvents(report);
    }

    void ReportHeader(const EtlLogHeader& header, const EtlStatistics& statistics) {
        part.Add("buffer size " + std::to_string(header.bufferSize) + ", buffers " +
                 std::to_string(header.buffersWritten) + ", mode " + std::to_string(header.logFileMode) +
                 ", clock " + std::to_string(header.reservedFlags));
        Compare("pointer size", std::to_string(header.pointerSize));
        Compare("events lost", std::to_string(header.eventsLost));
        Compare("buffers lost", std::to_string(header.buffersLost));
        Compare("damaged buffers", std::to_string(statistics.damagedBuffers));
        const bool isSame = CountBySystem(log.wstring()) == statistics.events;
        Compare("the system's reader finds the same number of events", isSame ? "yes" : "no");
    }

    void ReportEvents(const EventReport& report) {
        Compare("versions", report.Versions());
        Compare("users", report.Users());
        Compare("nodes", report.Nodes());
        for (const std::string_view bitness : bitnesses) {
            CompareValues(report, std::string(bitness));
        }
        part.Add("events by kind:");
        part.AddIndented(report.Kinds());
        part.Add("events of the samples:");
        part.AddIndented(report.SampleEvents());
    }

    // Each value that the sample writes has an event.
    void CompareValues(const EventReport& report, const std::string& bitness) {
        const std::set<std::wstring>& set = report.ValuesSetBy(bitness);
        std::size_t missing = 0;
        for (const std::wstring& name :
             ValueNamesOf(GoldenOf(places, sampleGolden, places.samples / bitness / sampleName))) {
            missing += set.contains(name) ? 0 : 1;
        }
        Compare("missing values of " + bitness, std::to_string(missing));
    }

    void Compare(const std::string& what, const std::string& value) {
        const auto found = expected.find(what);
        const bool isAsExpected = found != expected.end() && found->second == value;
        part.AddTried(isAsExpected,
                      what + ": " + value +
                          (isAsExpected || found == expected.end() ? "" : ", expected " + found->second));
    }

    void DeleteSamplesKeys() const {
        DeleteOwnKeys(OwnKeysOf(GoldenOf(places, sampleGolden, places.samples / "x64" / sampleName)));
    }

    const Places& places;
    const Vocabulary& vocabulary;
    std::filesystem::path log;
    std::map<std::string, std::string> expected;
    std::map<std::uint32_t, std::string> samples; // bitness by process
    ReportPart part;
};

} // namespace

ReportPart CheckRecording(const Places& places, const Vocabulary& vocabulary) {
    Recorder recorder(places, vocabulary);
    recorder.Record();
    return recorder.Part();
}

} // namespace keyreap
