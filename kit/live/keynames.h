#pragma once

#include <windows.h>

#include <string>
#include <utility>

namespace keyreap {

// The name of a key of HKEY_USERS as the current user has it: what is in the user's own hives begins with
// HKEY_CURRENT_USER. Any other name is unchanged.
class UserKeyNames {
public:
    // Without a user, which no process lacks, every name is unchanged.
    UserKeyNames();
    std::wstring NameOf(const std::wstring& name) const;

private:
    std::wstring hive; // HKEY_USERS\S-1-...; empty if it isn't known
};

// The root that a name begins with, and what comes after it; no root if there is none of that name.
std::pair<HKEY, std::wstring> RootAndPath(const std::wstring& name);

} // namespace keyreap
