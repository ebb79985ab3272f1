#include "extract/extractcommand.h"

#include "extract/companion.h"
#include "extract/nativefileregister/nativefileregister.h"
#include "pe/peimage.h"
#include "platform/os/file/executablepath.h"
#include "platform/os/process.h"

namespace keyreap {

namespace {

constexpr std::int32_t failure = -1;

bool IsForThisProcess(const WidePath& file) {
    // Only the 64-bit build has a companion: the 32-bit build must take whatever it is given.
    if constexpr (sizeof(void*) == 8) {
        return PeImage(file.ExtendedLengthForm()).Is64Bit();
    } else {
        return true;
    }
}

} // namespace

ExtractCommand::ExtractCommand(std::span<const wchar_t* const> words) : captureMode(ParseMode(words)) {
    for (FilePair& pair : ParsePairs(words)) {
        (IsForThisProcess(pair.sourceFile) ? nativeFiles : companionFiles).push_back(std::move(pair));
    }
}

std::int32_t ExtractCommand::RegisterNativeFiles() const {
    for (const FilePair& pair : nativeFiles) {
        NativeFileRegister session(pair.sourceFile, pair.regFile, captureMode);
        if (!session.Register()) {
            return failure;
        }
    }
    return 0;
}

std::int32_t ExtractCommand::RunCompanion() const {
    if (companionFiles.empty()) {
        return 0;
    }
    const WidePath companion = CompanionPath(GetExecutablePath());
    DWORD exitStatus = 0;
    const bool started =
        RunAndWait(companion.ExtendedLengthForm(),
                   CompanionCommandLine(companion, companionFiles, captureMode), &exitStatus);
    return started ? static_cast<std::int32_t>(exitStatus) : failure;
}

} // namespace keyreap
