#pragma once

#include "extract/nativefileregister/capturemode.h"
#include "extract/nativefileregister/temporarypaths.h"
#include "platform/os/file/widepath.h"
#include "platform/os/ownedhandle.h"

#include <cstdint>
#include <optional>

// What a file is, and how each kind registers itself. Every result is a value; the session stores it.
namespace keyreap {

// What there is to run and to register in a file.
struct Target {
    WidePath typeLibFile; // the file itself, or a staged copy of its resource; empty if there is none
    bool hasRegisterExport = false;
    bool isExecutable = false; // only asked without the export
    CaptureMode captureMode = CaptureMode::both;
};

// Classifies `file`; no code of it runs. The capture mode is the one asked for, but `trace` for a program:
// the overrides hold in this process only, so that only the trace sees what a program writes. A staged type
// library is added to `typeLibTemps`.
Target ClassifyTarget(const WidePath& file, CaptureMode captureMode, TemporaryPaths& typeLibTemps);

// Whether the system can start the file. Starts it suspended and ends it at once.
bool IsExecutable(const WidePath& file);

// The outcome of running a target's own code.
struct TargetRun {
    OwnedModule module; // still loaded: what it does on unloading is not for the capture
    bool succeeded = false;
    std::uint32_t serverProcessId = 0; // of the /REGSERVER process, 0 if there was none
    // What the export returned, if it was called. Plain fields: after the call comes a line of target.cpp,
    // which stack traces show.
    std::int32_t result = 0;
    bool hasResult = false;

    std::optional<std::int32_t> ReportedResult() const {
        return hasResult ? std::optional(result) : std::nullopt;
    }
};

// Calls the export of a target that has it, else runs a program; does nothing for any other target.
TargetRun RunTarget(const Target& target, const WidePath& file);

// Runs `file /REGSERVER` and waits for its end, however long that takes. It succeeded if it could be started:
// the exit status does not count.
TargetRun RegisterExecutable(const WidePath& file);

// Registers a type library. Only S_OK counts: every other code of success is a failure.
bool RegisterTypeLib(const WidePath& file);

} // namespace keyreap
