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

// Whether a run takes the result of a pair from its trace: the mode may say so, or an input is a program. An
// input on no drive of this machine counts as a program if its name isn't that of a library.
bool Traces(const CommandWords& words, const std::vector<PairFiles>& pairs);

// The Windows path of a word, relative to the current folder.
std::string WindowsPathOf(const std::string& word);

} // namespace keyreap
