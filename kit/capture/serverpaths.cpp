#include "kit/capture/serverpaths.h"

#include "platform/core/text/compare.h"

#include <algorithm>

namespace keyreap {

std::vector<CapturedPath> FilesOfServers(std::span<const std::wstring> capturedPaths) {
    std::vector<CapturedPath> files;
    for (std::size_t server = 0; server < capturedPaths.size(); ++server) {
        files.push_back({capturedPaths[server], true, {PieceKind::File, {}, server}});
    }
    return files;
}

std::vector<CapturedPath> FoldersOfServers(std::span<const std::wstring> capturedPaths,
                                           const std::wstring& name) {
    std::vector<CapturedPath> folders;
    for (const std::wstring& path : capturedPaths) {
        const std::wstring folder = path.substr(0, path.rfind(L'\\'));
        const bool isThere = std::ranges::any_of(
            folders, [&folder](const CapturedPath& other) { return EqualFolded(other.path, folder); });
        if (folder.find(L'\\') != std::wstring::npos && !isThere) {
            folders.push_back({folder, false, {PieceKind::Directory, name, 0}});
        }
    }
    return folders;
}

} // namespace keyreap
