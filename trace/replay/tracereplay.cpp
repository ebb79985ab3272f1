#include "trace/replay/tracereplay.h"

#include "regfile/regtext.h"
#include "trace/eventtracing.h"
#include "trace/replay/controlsets.h"
#include "trace/replay/regfilesink.h"
#include "trace/replay/registryremover.h"
#include "trace/replay/replayhandler.h"
#include "trace/replay/systemnamerules.h"
#include "trace/tracereader.h"

#include <windows.h>

#include <utility>

namespace keyreap {

namespace {

// An id of 0 means that there is no such process.
void WatchProcess(TraceEventHandler& handler, std::uint32_t processId) {
    if (processId != 0) {
        handler.AddWatchedProcess(processId);
    }
}

void PrepareSink(RegFileSink& sink, const ReplayRequest& request) {
    for (KeyMapping& mapping : ReplayMappings(request.temporaryPrefix)) {
        sink.AddKeyMapping(std::move(mapping));
    }
    for (const PathPair& pair : request.formPathPairs()) {
        // Deliberate: the strict form here and EscapeRegText in the harvest, because the files must not
        // change.
        sink.AddReplacement(EscapeRegTextStrict(pair.temporaryPath), EscapeRegTextStrict(pair.finalPath));
    }
}

} // namespace

bool ReplayTrace(EventTracing& tracing, const ReplayRequest& request) {
    const SystemNameRules rules;
    RegistryLog log(rules);
    LoadTrace(log, tracing, request.traceFilePath, GetCurrentProcessId(), request.serverProcessId);
    PruneControlSets(log, request.rootsRedirected, request.temporaryPrefix);
    RegFileSink sink(request.regFilePath, KeyOrder::sorted);
    PrepareSink(sink, request);
    log.Walk(sink);
    sink.Flush();
    RegistryRemover remover;
    log.Walk(remover);
    return true;
}

bool LoadTrace(RegistryLog& log, EventTracing& tracing, const std::wstring& logFilePath,
               std::uint32_t ownProcessId, std::uint32_t serverProcessId) {
    ReplayHandler handler;
    WatchProcess(handler, ownProcessId);
    WatchProcess(handler, serverProcessId);
    TraceReader reader(tracing);
    reader.AddHandler(handler);
    if (!reader.Read(logFilePath)) {
        return false;
    }
    log.RecordOperations(handler.TakeOperations());
    FoldControlSets(log);
    return true;
}

} // namespace keyreap
