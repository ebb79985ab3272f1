#pragma once

#include "regfile/pathpairs.h"
#include "trace/replay/registrylog.h"

#include <cstdint>
#include <functional>
#include <string>

namespace keyreap {

class EventTracing;

// The input of a replay. Paths are in the form that the file API takes.
struct ReplayRequest {
    std::wstring traceFilePath;
    std::wstring regFilePath;
    std::wstring temporaryPrefix; // of the temporary tree, below HKEY_CURRENT_USER, with its last backslash
    bool rootsRedirected = false; // the mode is not `trace` alone
    std::uint32_t serverProcessId = 0; // of the /REGSERVER process, 0 if there was none
    // Called after the .reg file was created, before a key is written.
    std::function<PathPairs()> formPathPairs;
};

// Turns a finished trace into the .reg file, then removes from the live registry what the trace says was put
// there. A trace that can't be read gives a file that has only its header. Always true; a failure to write
// the file raises the writer's exception, before anything is removed.
bool ReplayTrace(EventTracing& tracing, const ReplayRequest& request);

// Fills the log with the operations of the two processes; an id of 0 means no process. False, with an empty
// log, if the trace could not be read to its end.
bool LoadTrace(RegistryLog& log, EventTracing& tracing, const std::wstring& logFilePath,
               std::uint32_t ownProcessId, std::uint32_t serverProcessId);

} // namespace keyreap
