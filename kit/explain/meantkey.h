#pragma once

#include "trace/predefinedroot.h"
#include "trace/replay/keymapping.h"

#include <string>
#include <vector>

namespace keyreap {

// Where the operation log of a replay has a key: by the kernel's name, before the mappings.
struct LogPlace {
    PredefinedRoot root = noRoot;
    std::wstring path;

    std::wstring Text() const; // for maps
};

// Gives a path below HKEY_LOCAL_MACHINE the name of the current control set in the place of a numbered one,
// as the replay does.
void FoldControlSet(std::wstring& path);

// A key as the server named it.
struct MeantKey {
    PredefinedRoot root = noRoot;
    std::wstring path;
    bool isTemporary = false; // in the tree of the redirection
    bool isTree = false;      // one of its roots, or a key above them

    std::wstring Name() const; // HKEY_CLASSES_ROOT\...; the path alone without a root
};

// Turns the kernel's names of keys into others, as the replay does.
class KeyNames {
public:
    // The prefix of the temporary tree, below HKEY_CURRENT_USER, with its last backslash.
    explicit KeyNames(std::wstring temporaryPrefix);

    LogPlace PlaceOf(const std::wstring& kernelPath) const;
    MeantKey Meant(const std::wstring& kernelPath) const;

    const std::wstring& TemporaryPrefix() const { return temporaryPrefix; }

private:
    std::wstring temporaryPrefix;
    std::vector<KeyMapping> mappings;
};

} // namespace keyreap
