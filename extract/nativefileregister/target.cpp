#include "extract/nativefileregister/target.h"

#include "extract/nativefileregister/typelibstaging.h"
#include "pe/exportsearch.h"
#include "pe/peimage.h"
#include "platform/os/entrypoint.h"
#include "platform/os/ownedinterface.h"
#include "platform/os/process.h"

#include <oleauto.h>

namespace keyreap {

namespace {

constexpr char registerExport[] = "DllRegisterServer";
using RegisterFunction = HRESULT(STDAPICALLTYPE*)();

bool HasRegisterExport(const WidePath& file) {
    PeImage image(file.ExtendedLengthForm());
    return HasExportNamed(image, registerExport);
}

TargetRun CallRegisterExport(const WidePath& file) {
    TargetRun run;
    run.module.Reset(
        LoadLibraryExW(file.ExtendedLengthForm().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (const auto registerServer = FindEntryPoint<RegisterFunction>(run.module.Get(), registerExport)) {
        // Deliberate: the HRESULT decides nothing, because a server that reports failure still counts as
        // registered.
        run.result = registerServer();
        run.hasResult = true;
        run.succeeded = true;
    }
    return run;
}

} // namespace

Target ClassifyTarget(const WidePath& file, CaptureMode captureMode, TemporaryPaths& typeLibTemps) {
    Target target;
    target.typeLibFile = ExtractTypeLib(file, typeLibTemps);
    if (IsTypeLibFile(file)) {
        target.typeLibFile = file;
    }
    target.hasRegisterExport = HasRegisterExport(file);
    target.isExecutable = !target.hasRegisterExport && IsExecutable(file);
    target.captureMode = target.isExecutable ? CaptureMode::trace : captureMode;
    return target;
}

bool IsExecutable(const WidePath& file) {
    const std::optional<StartedProcess> started =
        StartProcess(file.ExtendedLengthForm(), {}, CREATE_SUSPENDED | NORMAL_PRIORITY_CLASS);
    if (!started) {
        return false;
    }
    TerminateProcess(started->process.Get(), 0);
    return true;
}

TargetRun RunTarget(const Target& target, const WidePath& file) {
    if (target.hasRegisterExport) {
        return CallRegisterExport(file);
    }
    return target.isExecutable ? RegisterExecutable(file) : TargetRun();
}

TargetRun RegisterExecutable(const WidePath& file) {
    const std::wstring application = file.ExtendedLengthForm();
    const std::optional<StartedProcess> started =
        StartProcess(application, L'"' + application + L"\" /REGSERVER ", NORMAL_PRIORITY_CLASS);
    if (!started) {
        return {};
    }
    WaitForSingleObject(started->process.Get(), INFINITE);
    // The exit status is read and ignored: only that the program was started counts.
    DWORD exitStatus = 0;
    GetExitCodeProcess(started->process.Get(), &exitStatus);
    return {.module = {}, .succeeded = true, .serverProcessId = started->id};
}

bool RegisterTypeLib(const WidePath& file) {
    ITypeLib* loaded = nullptr;
    const HRESULT result = LoadTypeLibEx(file.ExtendedLengthForm().c_str(), REGKIND_REGISTER, &loaded);
    const OwnedInterface<ITypeLib> library(loaded);
    return result == S_OK;
}

} // namespace keyreap
