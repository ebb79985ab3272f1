#include "extract/nativefileregister/nativefileregister.h"
#include "extract/nativefileregister/target.h"
#include "trace/registrytrace.h"

namespace keyreap {

void NativeFileRegister::RegisterTarget() {
    // Classified before anything is armed, so that none of it is captured.
    const Target target = ClassifyTarget(filePath, captureMode, typeLibTemps);
    captureMode = target.captureMode;
    succeeded = false;
    RegistryTrace registryTrace(traceFilePath.ExtendedLengthForm(), kernelLoggerSession, tracing);

    RedirectHives();
    if (captureMode != CaptureMode::keyRedir) {
        traceFailed = registryTrace.Start() != ERROR_SUCCESS;
    }

    // Stored at once, because the type library's registration may end this thread.
    TargetRun run = RunTarget(target, filePath);
    succeeded = run.succeeded;
    serverProcessId = run.serverProcessId;
    reportedResult = run.ReportedResult();
    if (!target.typeLibFile.IsEmpty()) {
        // Deliberate: the type library alone decides. Its failure fails a good server, and its success makes
        // up for a failed one.
        succeeded = RegisterTypeLib(target.typeLibFile);
    }

    // The overrides are in place for as long as events are recorded.
    registryTrace.Stop();
    RestoreHives();
    // Only now, because what the target does on unloading is not part of the capture.
    run.module.Reset();
}

} // namespace keyreap
