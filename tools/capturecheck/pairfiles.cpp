#include "tools/capturecheck/pairfiles.h"

#include "tools/capturecheck/windowspath.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace keyreap {
namespace {

// As the caller's shell calls it, links and all, if that is right. Empty if it was removed.
std::string CurrentFolder() {
    char* name = get_current_dir_name();
    std::string folder = name != nullptr ? name : "";
    std::free(name);
    return folder;
}

bool HasWindowsPath(const std::string& folder) {
    return !folder.empty() && folder.find('\\') == std::string::npos;
}

} // namespace

NamedFile::NamedFile(std::string wordOfCaller, const std::string& currentFolder)
    : word(std::move(wordOfCaller)), windowsPath(WindowsPath(word, currentFolder)),
      isLost(IsRelative(word) && !HasWindowsPath(currentFolder)) {
    if (const std::optional<std::string> path = HostPath(windowsPath, currentFolder)) {
        host.emplace(*path);
    }
}

PairFiles::PairFiles(const WordPair& pair, const std::string& currentFolder)
    : input(pair.input, currentFolder), output(pair.output, currentFolder) {
    if (input.host) {
        facts = FactsOf(*input.host);
    }
}

std::vector<PairFiles> FilesOf(const CommandWords& words) {
    const std::string folder = CurrentFolder();
    std::vector<PairFiles> files;
    for (const WordPair& pair : words.pairs) {
        files.emplace_back(pair, folder);
    }
    return files;
}

std::string WindowsPathOf(const std::string& word) {
    return WindowsPath(word, CurrentFolder());
}

} // namespace keyreap
