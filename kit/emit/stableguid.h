#pragma once

#include "platform/core/text/guid.h"

#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// The GUID of a text with or without braces; none if it isn't one.
std::optional<Guid> WholeGuid(std::wstring_view text);

// The GUID in upper case, without braces.
std::wstring BareGuidText(const Guid& guid);

// The same GUID for the same name in the same space, on every machine: version 5 of RFC 9562.
Guid NamedGuid(const Guid& space, std::string_view name);

} // namespace keyreap
