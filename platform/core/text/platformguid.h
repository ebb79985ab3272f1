#pragma once

#include "platform/core/text/guid.h"

#include <windows.h>

#include <bit>

// Conversions between our GUID and the platform's, which have the same layout.
namespace keyreap {

static_assert(sizeof(Guid) == sizeof(GUID));

inline GUID ToPlatformGuid(const Guid& guid) {
    return std::bit_cast<GUID>(guid);
}

inline Guid FromPlatformGuid(const GUID& guid) {
    return std::bit_cast<Guid>(guid);
}

} // namespace keyreap
