#pragma once

#include "kit/emit/installbuilder.h"
#include "kit/emit/installdata.h"

#include <span>
#include <string>
#include <vector>

// The data in the words of each kind of installer. Each writer adds a note for what its kind can't carry, and
// leaves it out.
namespace keyreap {

enum class WixVersion {
    Three, // the namespace of 2006
    Four,  // and later
};

enum class WixForm {
    Values, // each entry is an element RegistryValue
    Native, // classes, ProgIDs, type libraries and interfaces are elements of their own, below their file's
};

// A fragment with a group of components.
std::string WriteWix(const InstallData& data, WixVersion version, WixForm form, std::vector<EmitNote>& notes);

// Components in an element Include, as wixl takes them.
std::string WriteWixl(const InstallData& data, std::vector<EmitNote>& notes);

// Two macros for a script of NSIS.
std::string WriteNsis(const InstallData& data, std::vector<EmitNote>& notes);

// A section [Registry] of Inno Setup.
std::string WriteInno(const InstallData& data, std::vector<EmitNote>& notes);

// A .reg file.
std::string WriteReg(const InstallData& data, std::vector<EmitNote>& notes);

// The data and what the captures' entries make up (docs/keykit.schema.json).
std::string WriteJson(const InstallData& data, std::span<const Capture> captures,
                      std::vector<EmitNote>& notes);

} // namespace keyreap
