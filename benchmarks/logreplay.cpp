#include "benchmarks/logreplay.h"

#include "etl/etlfile.h"
#include "etl/etlreader.h"
#include "tests/support/letterfoldingnamerules.h"
#include "trace/replay/controlsets.h"
#include "trace/replay/registrylog.h"
#include "trace/replay/replayhandler.h"

#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace keyreap {

namespace {

// Passes the events of a log file to the handler, as the trace reader does.
class HandlerFeed : public EtlListener {
public:
    explicit HandlerFeed(TraceEventHandler& handler) : handler(handler) {}

    void OnEvent(const EtlEvent& event) override {
        TraceEvent passed; // as the program makes one of the platform's record
        passed.guid = event.guid;
        passed.type = event.type;
        passed.version = event.version;
        passed.threadId = event.threadId;
        passed.processId = event.processId;
        passed.timeStamp = event.timeStamp;
        const auto length = static_cast<std::uint32_t>(event.payload.size()); // as MofLength
        passed.payload = {event.payload.data(), length};
        handler.OnEvent(passed);
    }

    bool OnBuffer() override { return handler.IsEnabled(); }

private:
    TraceEventHandler& handler;
};

// Adds up the bytes that every replay needs. Reads the names of handles itself.
class SizeCount : public TraceEventHandler {
public:
    bool Accepts(const TraceEvent& event) const override { return event.guid == RegistryGuid; }

    void OnDecodedEvent(const TraceEvent& event, const EventValues*) override {
        if (event.type >= registryevent::kcbCreate && event.type <= registryevent::kcbRundownEnd) {
            const NamedHandle named = ReadFixedName(event, PointerSize());
            nameSizes[named.keyHandle] = named.name.size();
        }
    }

    std::size_t Sum() const {
        std::size_t sum = 0;
        for (const auto& [handle, size] : nameSizes) {
            sum += sizeof(handle) + size;
        }
        return sum;
    }

private:
    std::unordered_map<std::uint64_t, std::size_t> nameSizes;
};

class VisitCount : public RegistryLogVisitor {
public:
    void OnKey(PredefinedRoot, const std::wstring&, Outcome, std::uint32_t, std::uint32_t) override {
        ++keys;
    }
    void OnValue(PredefinedRoot, const std::wstring&, const std::wstring&, Outcome) override { ++values; }

    std::uint64_t keys = 0;
    std::uint64_t values = 0;
};

bool Feed(const std::filesystem::path& path, TraceEventHandler& handler) {
    EtlFileSource source(path);
    EtlReader reader(source);
    HandlerFeed feed(handler);
    const bool complete = reader.Open() && reader.Process(feed);
    handler.OnFinished();
    return complete;
}

} // namespace

std::size_t LeastSizeOf(const std::filesystem::path& path, std::uint32_t watchedProcess) {
    ReplayHandler handler;
    handler.AddWatchedProcess(watchedProcess);
    Feed(path, handler);
    SizeCount sizes;
    Feed(path, sizes);
    std::size_t sum = sizes.Sum();
    std::unordered_set<std::wstring_view> texts;
    for (const RegistryOperation& operation : handler.Operations()) {
        sum += sizeof(operation);
        for (const std::wstring_view text : {operation.keyPath, operation.valueName}) {
            sum += texts.insert(text).second ? text.size() * sizeof(text[0]) : 0;
        }
    }
    return sum;
}

ReplayResult ReplayLogFile(const std::filesystem::path& path, std::uint32_t watchedProcess) {
    ReplayResult result;
    const LetterFoldingNameRules rules;
    RegistryLog log(rules);
    ReplayHandler handler;
    handler.AddWatchedProcess(watchedProcess);
    result.complete = Feed(path, handler);
    result.operations = handler.Operations().size();
    log.RecordOperations(handler.TakeOperations());
    FoldControlSets(log);
    VisitCount visits;
    log.Walk(visits);
    result.events = handler.Counters().eventsSeen;
    result.keys = visits.keys;
    result.values = visits.values;
    return result;
}

} // namespace keyreap
