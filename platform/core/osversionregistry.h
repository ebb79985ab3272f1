#pragma once

#include "platform/core/osversion.h"

#include <windows.h>

namespace keyreap {

// ReadRunningOsVersion with `machineRoot` in place of HKEY_LOCAL_MACHINE.
void ReadOsVersionBelow(HKEY machineRoot, OsVersion& record);

} // namespace keyreap
