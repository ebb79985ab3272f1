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

// Reads the fields of a create_key or an open_key, which have them in different places.
AskedKey ReadAskedKey(std::string_view fields, bool creates);

// Which view of the registry the request is made in, by the machine of its process and the access asked for.
KeyView ViewOf(const ServerProcess& process, const AskedKey& asked);

// Who makes the request, by the history of the parent's handle; the rule is at RequestTracker.
KeyOrigin OriginOf(const ServerProcess& process, const AskedKey& asked);

// Whether the request asks for a handle that is inherited.
bool AsksForInheritance(std::uint32_t attributes);

} // namespace keyreap
