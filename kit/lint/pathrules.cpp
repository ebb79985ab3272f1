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

// True if a text begins with a full path, or with a variable for one.
bool IsPath(std::wstring_view text) {
    return text.starts_with(L'%') || text.starts_with(L"\\\\") || text.substr(1).starts_with(L":\\");
}

// True if an option or another path begins in a text. A minus between blanks may be in a folder's name.
bool HasArguments(std::wstring_view text) {
    constexpr std::wstring_view minus = L" -";
    for (std::size_t at = text.find(minus); at != std::wstring_view::npos; at = text.find(minus, at + 1)) {
        if (!text.substr(at + minus.size()).starts_with(L' ')) {
            return true;
        }
    }
    return text.find(L" /") != std::wstring_view::npos || text.find(L':', 2) != std::wstring_view::npos;
}

// True if the program's path ends after a blank. A file without an extension can't be distinguished from
// arguments.
bool HasBlankInPath(std::wstring_view command) {
    constexpr std::wstring_view extension = L".exe";
    const std::wstring folded = FoldedText(std::wstring(command));
    const std::size_t end = folded.find(extension);
    const std::wstring_view path = std::wstring_view(folded).substr(0, end);
    return end != std::wstring::npos && path.find(L' ') != std::wstring_view::npos && IsPath(path) &&
           !HasArguments(path);
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
