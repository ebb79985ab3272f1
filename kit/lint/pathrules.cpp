#include "kit/lint/ruletable.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>

// Rules about paths of the build machine.
namespace keyreap {

namespace {

std::wstring ForeignPathIn(const RegEntry& entry, const EntryPlace& place, PathForms& servers) {
    std::wstring path = AbsolutePathLeftIn(servers.Replaced(entry.name));
    for (const std::wstring& text : TextsOf(entry)) {
        const bool isFile = IsPlaceOfFile(place.key, place.value);
        path = path.empty()
                   ? AbsolutePathLeftIn(isFile ? servers.ReplacedPlace(text) : servers.Replaced(text))
                   : path;
    }
    return path;
}

// The folders that a system usually has blanks in the names of.
bool IsFolderWithBlank(std::wstring_view text) {
    constexpr std::array<std::wstring_view, 2> folders = {L"%ProgramFiles", L"%CommonProgramFiles"};
    return std::ranges::any_of(folders,
                               [text](std::wstring_view folder) { return StartsWithFolded(text, folder); });
}

// True if the program's path ends after a blank. A file without an extension can't be distinguished from
// arguments.
bool HasBlankInPath(std::wstring_view command) {
    constexpr std::wstring_view extension = L".exe";
    const std::wstring folded = FoldedText(std::wstring(command));
    const std::size_t end = folded.find(extension);
    return end != std::wstring::npos && folded.find(L' ') < end;
}

} // namespace

void FindForeignPaths(const LintInput& input, Findings& findings) {
    PathForms servers(input.ServerPaths());
    for (const Capture& capture : input.Captures()) {
        ForEachEntry(capture, [&](const RegEntry& entry, const EntryPlace& place) {
            const std::wstring path = ForeignPathIn(entry, place, servers);
            if (!path.empty()) {
                findings.push_back({place, L"has a path that is none of the server's: " + path});
            }
        });
    }
}

void FindMissingQuotes(const LintInput& input, Findings& findings) {
    ForEachObject<ClassFacts>(input, [&](const RegObject&, const ClassFacts& facts, const EntryPlace& place) {
        for (const ServerFacts& server : facts.servers) {
            const bool isCommand =
                EqualFolded(server.kind, L"LocalServer32") && !server.path.starts_with(L'"');
            if (isCommand && (HasBlankInPath(server.path) || IsFolderWithBlank(server.path))) {
                findings.push_back({KeyIn(place, server.kind),
                                    L"has a path with blanks and without quotes: " + server.path});
            }
        }
    });
}

} // namespace keyreap
