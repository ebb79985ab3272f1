#include "tools/capturecheck/pairfiles.h"

#include "tools/capturecheck/windowspath.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace keyreap {
namespace {

// As the caller's shell names it, with its links, if that is right. Empty if the folder was removed.
std::string CurrentFolder() {
    char* name = get_current_dir_name();
    std::string folder = name != nullptr ? name : "";
    std::free(name);
    return folder;
}

bool HasWindowsPath(const std::string& folder) {
    return !folder.empty() && folder.find('\\') == std::string::npos;
}

NamedFile FileOf(const std::string& word, const std::string& currentFolder) {
    NamedFile file;
    file.word = word;
    file.windowsPath = WindowsPath(word, currentFolder);
    file.isLost = IsRelative(word) && !HasWindowsPath(currentFolder);
    if (const std::optional<std::string> path = HostPath(file.windowsPath, currentFolder)) {
        file.host.emplace(*path);
    }
    return file;
}

bool IsLibraryName(std::string_view name) {
    constexpr std::array<std::string_view, 5> endings = {".dll", ".ocx", ".ax", ".tlb", ".olb"};
    return std::ranges::any_of(endings, [&](std::string_view ending) { return NameEndsWith(name, ending); });
}

bool MayBeProgram(const PairFiles& pair) {
    return pair.input.host ? pair.facts.MayBeProgram() : !IsLibraryName(pair.input.windowsPath);
}

} // namespace

std::vector<PairFiles> FilesOf(const CommandWords& words) {
    const std::string folder = CurrentFolder();
    std::vector<PairFiles> files;
    for (const WordPair& pair : words.Pairs()) {
        NamedFile input = FileOf(pair.input, folder);
        const InputFacts facts = input.host ? FactsOf(*input.host) : InputFacts();
        files.push_back({std::move(input), FileOf(pair.output, folder), facts});
    }
    return files;
}

bool Traces(const CommandWords& words, const std::vector<PairFiles>& pairs) {
    return !pairs.empty() && (words.Mode() != "keyRedir" || std::ranges::any_of(pairs, MayBeProgram));
}

std::string WindowsPathOf(const std::string& word) {
    return WindowsPath(word, CurrentFolder());
}

} // namespace keyreap
