#pragma once

#include "extract/arguments.h"

#include <cstdint>
#include <span>
#include <vector>

namespace keyreap {

// One run over the pairs of a command line. Exit statuses are signed 32-bit; -1 is this program's own
// failure.
class ExtractCommand {
public:
    // Sorts the pairs in the words after the verb: those that this process can load, and those for the
    // companion. Opens every input for that, and refuses none. The 32-bit build takes all of them itself.
    explicit ExtractCommand(std::span<const wchar_t* const> words);

    // Captures the pairs of this process, one session after another. 0; -1 if one fails, and later pairs are
    // skipped.
    std::int32_t RegisterNativeFiles() const;

    // Passes all other pairs to the companion, waits for it and returns its exit status unchanged. 0 without
    // such pairs; -1 if it can't be started.
    std::int32_t RunCompanion() const;

private:
    std::vector<FilePair> nativeFiles;
    std::vector<FilePair> companionFiles;
    CaptureMode captureMode;
};

} // namespace keyreap
