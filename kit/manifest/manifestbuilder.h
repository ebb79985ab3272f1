#pragma once

#include "kit/emit/installbuilder.h"
#include "kit/manifest/commanifest.h"

#include <span>
#include <string>
#include <vector>

namespace keyreap {

struct ManifestSettings {
    std::wstring assemblyName;
    int bitness = 64;
    std::vector<InstallServer> servers;
};

// What a manifest for the servers says of the captures. Adds a note for each entry that it can't say, and for
// each server that no entry names.
ComManifest ManifestOf(std::span<const Capture> captures, const ManifestSettings& settings,
                       std::vector<EmitNote>& notes);

} // namespace keyreap
