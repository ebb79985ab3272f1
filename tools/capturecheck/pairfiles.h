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
    NamedFile(std::string wordOfCaller, const std::string& currentFolder);

    std::string word;
    std::string windowsPath;
    // None if it lies on no drive of this machine.
    std::optional<HostFile> host;
    // It is counted from the current folder, but that has no Windows path: it was removed, or has a backslash
    // in a name.
    bool isLost;
};

// A pair of the command line with its files as they are now.
struct PairFiles {
    PairFiles(const WordPair& pair, const std::string& currentFolder);

    NamedFile input;
    NamedFile output;
    InputFacts facts;
};

std::vector<PairFiles> FilesOf(const CommandWords& words);

// The Windows path of a word, counted from the current folder.
std::string WindowsPathOf(const std::string& word);

} // namespace keyreap
