#pragma once

#include "kit/emit/installdata.h"

#include <string>
#include <string_view>
#include <variant>

namespace keyreap {

struct InstallPlace {
    InstallRoot root = InstallRoot::LocalMachine;
    std::wstring path; // empty for the root itself
};

// Where a captured key goes: HKEY_CLASSES_ROOT to Software\Classes of the scope, and with the user as scope
// the machine's classes too. Otherwise the reason why no installer of the scope may write there.
std::variant<InstallPlace, std::wstring> InstallPlaceOf(std::wstring_view keyPath, InstallScope scope);

} // namespace keyreap
