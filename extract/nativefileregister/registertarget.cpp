#include "extract/nativefileregister/nativefileregister.h"
#include "extract/nativefileregister/typelibstaging.h"
#include "pe/exportsearch.h"
#include "pe/peimage.h"
#include "platform/os/entrypoint.h"
#include "platform/os/process.h"
#include "trace/registrytrace.h"

#include <oleauto.h>

namespace keyreap {

namespace {

constexpr char registerExport[] = "DllRegisterServer";
using RegisterFunction = HRESULT(STDAPICALLTYPE*)();

bool HasRegisterExport(const WidePath& file) {
    PeImage image(file.ExtendedLengthForm());
    return HasExportNamed(image, registerExport);
}

bool RegisterTypeLib(const WidePath& file) {
    ITypeLib* library = nullptr;
    const HRESULT result = LoadTypeLibEx(file.ExtendedLengthForm().c_str(), REGKIND_REGISTER, &library);
    if (library) {
        library->Release();
    }
    // Exactly S_OK: other codes of success count as failures.
    return result == S_OK;
}

} // namespace

struct NativeFileRegister::Target {
    WidePath typeLibFile; // empty if there is none to register
    bool hasRegisterExport = false;
    bool isExecutable = false;
};

void NativeFileRegister::RegisterTarget() {
    // Classified before anything is armed, so that none of it is captured.
    const Target target = ClassifyTarget();
    succeeded = false;
    RegistryTrace registryTrace(traceFilePath.ExtendedLengthForm(), kernelLoggerSession, tracing);
    OwnedModule module;

    RedirectHives();
    if (captureMode != CaptureMode::keyRedir) {
        traceFailed = registryTrace.Start() != ERROR_SUCCESS;
    }

    RunTarget(target, module);

    // The overrides are in place for as long as events are recorded.
    registryTrace.Stop();
    RestoreHives();
    // Only now: what the target does on unloading is no part of the capture.
    module.Reset();
}

NativeFileRegister::Target NativeFileRegister::ClassifyTarget() {
    Target target;
    target.typeLibFile = ExtractTypeLib(filePath, typeLibTemps);
    if (IsTypeLibFile(filePath)) {
        target.typeLibFile = filePath;
    }
    target.hasRegisterExport = HasRegisterExport(filePath);
    if (!target.hasRegisterExport && IsExecutable()) {
        target.isExecutable = true;
        // The overrides hold only in this process: a program is seen by the trace alone.
        captureMode = CaptureMode::trace;
    }
    return target;
}

void NativeFileRegister::RunTarget(const Target& target, OwnedModule& module) {
    if (target.hasRegisterExport) {
        CallRegisterExport(module);
    } else if (target.isExecutable) {
        succeeded = RegisterExecutable();
    }
    if (!target.typeLibFile.IsEmpty()) {
        // Overwrites the outcome above: a type library fails a good server, and makes up for a failed one.
        succeeded = RegisterTypeLib(target.typeLibFile);
    }
}

void NativeFileRegister::CallRegisterExport(OwnedModule& module) {
    module.Reset(
        LoadLibraryExW(filePath.ExtendedLengthForm().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (const auto registerServer = FindEntryPoint<RegisterFunction>(module.Get(), registerExport)) {
        // The HRESULT isn't looked at: a server that reports failure still counts as registered.
        registerServer();
        succeeded = true;
    }
}

bool NativeFileRegister::IsExecutable() const {
    const std::optional<StartedProcess> started =
        StartProcess(filePath.ExtendedLengthForm(), {}, CREATE_SUSPENDED | NORMAL_PRIORITY_CLASS);
    if (!started) {
        return false;
    }
    TerminateProcess(started->process.Get(), 0);
    return true;
}

bool NativeFileRegister::RegisterExecutable() {
    const std::wstring application = filePath.ExtendedLengthForm();
    const std::optional<StartedProcess> started =
        StartProcess(application, L'"' + application + L"\" /REGSERVER ", NORMAL_PRIORITY_CLASS);
    if (!started) {
        return false;
    }
    WaitForSingleObject(started->process.Get(), INFINITE);
    // Its exit code says nothing: only that it was started counts.
    DWORD exitCode = 0;
    GetExitCodeProcess(started->process.Get(), &exitCode);
    serverProcessId = started->id;
    return true;
}

} // namespace keyreap
