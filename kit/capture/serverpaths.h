#pragma once

#include "kit/capture/pathforms.h"

#include <span>
#include <string>
#include <vector>

namespace keyreap {

// The servers' files, given by the paths where they were captured, as paths that a text may contain.
std::vector<CapturedPath> FilesOfServers(std::span<const std::wstring> capturedPaths);

// Their folders, under one name. A drive's root is in too many paths, and is no folder of a server.
std::vector<CapturedPath> FoldersOfServers(std::span<const std::wstring> capturedPaths,
                                           const std::wstring& name);

} // namespace keyreap
