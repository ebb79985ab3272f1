#pragma once

#include "kit/capture/pathforms.h"
#include "kit/emit/installdata.h"
#include "platform/core/text/guid.h"

#include <span>
#include <string>
#include <vector>

namespace keyreap {

struct InstallSettings {
    Guid product;
    InstallScope scope = InstallScope::Machine;
    int bitness = 64;
    std::wstring directory;
    std::vector<InstallServer> servers;
    std::vector<CapturedPath> replacements; // beside the servers
};

// What the captures' entries are for an installer. Adds a note for each entry that isn't carried, each path
// of the build machine that is left, each path that no entry has, and each place that can be read in two
// ways. The entries of an object go to the component of the server that the object names.
InstallData InstallDataOf(std::span<const Capture> captures, const InstallSettings& settings,
                          std::vector<EmitNote>& notes);

} // namespace keyreap
