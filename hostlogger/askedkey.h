#pragma once

#include "hostlogger/keylookup.h"
#include "hostlogger/serverprocess.h"

#include <cstdint>
#include <string_view>

namespace keyreap {

// What a request to create or open a key asks for.
struct AskedKey {
    bool creates = false;
    std::uint32_t parent = 0; // a handle, or 0 with a complete name
    std::uint32_t attributes = 0;
    std::uint32_t access = 0;
    std::string_view name; // a part of the fields, in the server's escapes
};

// Reads the fields of a create_key or an open_key, which tell it in different places.
AskedKey ReadAskedKey(std::string_view fields, bool creates);

// How the process that asks looks at the registry, by its machine and by the access that it asks for.
KeyView ViewOf(const ServerProcess& process, const AskedKey& asked);

// Who asks, by the history of the parent's handle; RequestTracker tells the rule.
KeyOrigin OriginOf(const ServerProcess& process, const AskedKey& asked);

// Whether the handle that the request gives is to be inherited.
bool AsksForInheritance(std::uint32_t attributes);

} // namespace keyreap
