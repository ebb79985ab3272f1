#include "extract/nativefileregister/nativefileregister.h"

#include "extract/nativefileregister/droppedfailures.h"
#include "platform/core/exceptiontranslation.h"
#include "platform/core/unhandledexception.h"
#include "platform/os/comapartment.h"
#include "platform/os/file/temporaryfiles.h"
#include "platform/os/quietly.h"
#include "registry/harvest.h"
#include "trace/replay/tracereplay.h"

#include <memory>

namespace keyreap {

namespace {

WidePath ReserveTracePath() {
    std::wstring name;
    return ReserveTempName(L"ETL", name) ? WidePath(name) : WidePath();
}

} // namespace

struct NativeFileRegister::StartBlock {
    void (NativeFileRegister::*function)();
    NativeFileRegister* session;
};

NativeFileRegister::NativeFileRegister(WidePath filePath, WidePath regFilePath, CaptureMode captureMode,
                                       EventTracing& tracing)
    : tracing(tracing), filePath(std::move(filePath)), regFilePath(std::move(regFilePath)),
      captureMode(captureMode),
      // Only opened: on a machine's first run it does not exist, and that run's tree stays for the next
      // session.
      productKey(productPath, HKEY_CURRENT_USER, true), temporaryKey(productKey.CreateChild(temporaryName)),
      hkcrKey(temporaryKey.CreateChild(L"HKCR\\")), hkcuKey(temporaryKey.CreateChild(L"HKCU\\")),
      hkuKey(temporaryKey.CreateChild(L"HKU\\")), hklmKey(temporaryKey.CreateChild(L"HKLM\\")) {
    traceFilePath = ReserveTracePath();
    StageUncSource();
}

NativeFileRegister::~NativeFileRegister() {
    Quietly([this] { RestoreHives(); });
    Quietly([this] { productKey.DeleteSubtree(temporaryName); });
    Quietly([this] { DeleteFileW(traceFilePath.ExtendedLengthForm().c_str()); });
}

void NativeFileRegister::StageUncSource() {
    if (!IsUncPath(filePath.Text())) {
        return;
    }
    std::wstring name;
    WidePath directory;
    if (ReserveTempName(L"UNC", name) &&
        CreateDirectoryW(WidePath(name).ExtendedLengthForm().c_str(), nullptr)) {
        directory = WidePath(name);
    }
    stagedTemps.directories.push_back(directory);
    // Without a folder this is only the file name, and the copy goes to the current directory.
    WidePath copy = directory;
    copy.Append(filePath.FileName());
    CopyFileW(filePath.ExtendedLengthForm().c_str(), copy.ExtendedLengthForm().c_str(), FALSE);
    stagedTemps.files.push_back(copy);
    originalFilePath = std::move(filePath);
    filePath = std::move(copy);
}

bool NativeFileRegister::Register() {
    return SucceedsOrDrops([this] {
        succeeded = false;
        const OwnedHandle worker = StartWorker();
        WaitForSingleObject(worker.Get(), INFINITE);
        if (succeeded) {
            MakeResult();
        }
        return succeeded;
    });
}

OwnedHandle NativeFileRegister::StartWorker() {
    auto block = std::make_unique<StartBlock>(StartBlock{&NativeFileRegister::RegisterOnThread, this});
    OwnedHandle thread(CreateThread(nullptr, 0, RegisterThreadEntry, block.get(), 0, nullptr));
    if (thread.Valid()) {
        // The thread frees it.
        static_cast<void>(block.release());
    }
    return thread;
}

// Deliberate: an exception leaves it. No handler is found then, and the unhandled exception filter reports
// it.
DWORD WINAPI NativeFileRegister::RegisterThreadEntry(void* block) {
    const StartBlock start = *std::unique_ptr<StartBlock>(static_cast<StartBlock*>(block));
    InstallStructuredExceptionTranslator();
    InstallUnhandledExceptionFilter();
    (start.session->*start.function)();
    return 0;
}

void NativeFileRegister::RegisterOnThread() {
    const ComApartment apartment;
    RegisterTarget();
}

void NativeFileRegister::MakeResult() {
    if (ReplaysTrace(captureMode, traceFailed)) {
        ReplayTrace();
    } else {
        HarvestHives();
    }
}

PathPairs NativeFileRegister::FormPairs() {
    pathPairs = FormPathPairs(filePath, originalFilePath, typeLibTemps.files);
    return pathPairs;
}

HiveKeys NativeFileRegister::Hives() const {
    return {hkcrKey, hkcuKey, hkuKey, hklmKey};
}

void NativeFileRegister::RedirectHives() {
    ApplyOverridesToAllViews();
    if (captureMode == CaptureMode::trace) {
        return;
    }
    OverrideRoots(Hives());
    redirected = true;
}

void NativeFileRegister::RestoreHives() {
    if (!redirected) {
        return;
    }
    LiftOverrides(Hives());
    redirected = false;
}

bool NativeFileRegister::ReplayTrace() {
    return keyreap::ReplayTrace(tracing, {.traceFilePath = traceFilePath.ExtendedLengthForm(),
                                          .regFilePath = regFilePath.ExtendedLengthForm(),
                                          .temporaryPrefix = std::wstring(productPath) + temporaryName,
                                          .rootsRedirected = captureMode != CaptureMode::trace,
                                          .serverProcessId = serverProcessId,
                                          .formPathPairs = [this] { return FormPairs(); }});
}

bool NativeFileRegister::HarvestHives() {
    return keyreap::HarvestHives(regFilePath.ExtendedLengthForm(), Hives(), [this] { return FormPairs(); });
}

} // namespace keyreap
