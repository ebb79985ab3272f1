#pragma once

#include "hostlogger/strictness.h"

#include <string>

namespace keyreap {

// How the kernel logger spells the keys of a host: as they are, or as Strictness describes them.
class ReportedNames {
public:
    // Every name as it is.
    ReportedNames() = default;
    // The user key is the current user's hive, \REGISTRY\User\<SID>.
    ReportedNames(const Strictness& strictness, std::wstring userKey);

    // The kernel's own name of a key, by its real path.
    std::wstring KernelName(const std::wstring& path) const;

    // A complete name that a process asked for. The kernel keeps its spelling.
    std::wstring AskedName(const std::wstring& path) const;

    // The same for a name relative to a key.
    std::wstring AskedName(const std::wstring& parent, const std::wstring& name) const;

private:
    bool capitals = false;
    std::wstring userKey;      // empty if the account is reported as it is
    std::wstring reportedUser; // the key that is reported for it
    std::wstring reportedClasses;
};

} // namespace keyreap
