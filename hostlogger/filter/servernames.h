#pragma once

#include <string_view>

namespace keyreap {

// Whether the server of Wine 8.0 or that of Wine 10.0 has a request of this name.
bool IsServerRequest(std::string_view name);

// Whether one of the two servers logs a status by this name.
bool IsServerStatus(std::string_view name);

} // namespace keyreap
