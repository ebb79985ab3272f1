#pragma once

#include "extract/nativefileregister/capturemode.h"
#include "extract/nativefileregister/temporarypaths.h"
#include "platform/os/file/widepath.h"
#include "platform/os/ownedhandle.h"
#include "regfile/pathpairs.h"
#include "registry/hiveredirection.h"
#include "registry/regkey.h"
#include "trace/eventtracing.h"

#include <cstdint>
#include <optional>
#include <string>

namespace keyreap {

// Below HKEY_CURRENT_USER, and the temporary tree below that. Each ends with a backslash.
inline constexpr wchar_t productPath[] = L"Software\\Velmoro\\Tesselink\\";
inline constexpr wchar_t temporaryName[] = L"Temporary\\";

// One registration session: one input, one .reg file. It owns everything that the capture needs: the
// temporary key tree, the trace log, copies and staged files. Its destructor removes them. (On a machine's
// first run the key tree stays for the next session's destructor.)
//
// The input registers itself on a worker thread. The main thread only waits for its end, so the fields need
// no lock: the worker writes them, and the main thread reads them afterwards.
class NativeFileRegister {
public:
    // Copies an input that is on a share. Nothing fails here: what could not be made shows in Register.
    NativeFileRegister(WidePath filePath, WidePath regFilePath, CaptureMode captureMode,
                       EventTracing& tracing = HostEventTracing());
    NativeFileRegister(const NativeFileRegister&) = delete;
    NativeFileRegister& operator=(const NativeFileRegister&) = delete;
    ~NativeFileRegister();

    // Makes the input register itself and writes the .reg file. False, and no file, if the input couldn't be
    // registered; false, perhaps with a part of the file, if writing failed. Waits for the input's own code,
    // however long that takes.
    bool Register();

    // The HRESULT of the input's DllRegisterServer in the last Register; none if it wasn't called, or didn't
    // return. It decides nothing.
    std::optional<std::int32_t> ReportedResult() const { return reportedResult; }

private:
    struct StartBlock;

    void StageUncSource();

    // On the worker thread; each calls the next.
    static DWORD WINAPI RegisterThreadEntry(void* block);
    void RegisterOnThread();
    void RegisterTarget();

    void RedirectHives();
    void RestoreHives();
    HiveKeys Hives() const;

    OwnedHandle StartWorker();
    void MakeResult();
    PathPairs FormPairs();
    bool ReplayTrace();
    bool HarvestHives();

    EventTracing& tracing;
    WidePath filePath;         // the file to register: the input, or its local copy
    WidePath originalFilePath; // the input as it was given if it was copied, else empty
    WidePath regFilePath;
    TemporaryPaths typeLibTemps; // staged type libraries
    TemporaryPaths stagedTemps;  // the local copy and its folder
    PathPairs pathPairs;         // filled once the .reg file exists
    WidePath traceFilePath;      // the name reserved for the trace log
    bool succeeded = false;
    CaptureMode captureMode;  // RegisterTarget sets it to `trace` for a program
    bool redirected = false;  // the overrides are in force
    bool traceFailed = false; // the kernel logger could not be started
    RegKey productKey;        // the keys are closed from the last to the first
    RegKey temporaryKey;
    RegKey hkcrKey;
    RegKey hkcuKey;
    RegKey hkuKey;
    RegKey hklmKey;
    std::uint32_t serverProcessId = 0; // of the /REGSERVER process, 0 if there was none
    std::optional<std::int32_t> reportedResult;
};

} // namespace keyreap
