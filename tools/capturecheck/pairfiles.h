#pragma once

#include "tools/capturecheck/commandwords.h"
#include "tools/capturecheck/hostfile.h"
#include "tools/capturecheck/inputfacts.h"

#include <optional>
#include <string>
#include <vector>

namespace keyreap {

// A file that a word of the command line names.
struct NamedFile {
    std::string word;
    std::string windowsPath;
    // No value if it is on no drive of this machine.
    std::optional<HostFile> host;
    // True if it is relative to the current folder, and that has no Windows path: it was removed, or has a
    // backslash in a name.
    bool isLost = false;
};

// A pair of the command line with its files as they are now.
struct PairFiles {
    NamedFile input;
    NamedFile output;
    InputFacts facts;
};

std::vector<PairFiles> FilesOf(const CommandWords& words);

// The Windows path of a word, relative to the current folder.
std::string WindowsPathOf(const std::string& word);

} // namespace keyreap
