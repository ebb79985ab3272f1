#pragma once

#include "kit/live/registrydifference.h"

#include <nlohmann/json.hpp>

// How answers name keys and values: texts are UTF-8, with U+FFFD in the place of a surrogate without a
// partner, and data are lower-case hexadecimal digits.
namespace keyreap {

// {"type":1,"data":"6100"}
nlohmann::json DataJson(const RegistryData& data);

// {"name":"...","type":1,"data":"..."}
nlohmann::json ValueJson(const std::wstring& name, const RegistryData& data);

// Without `type` and `data` if the value is gone, and with `before` if it was there.
nlohmann::json ChangeJson(const ChangedValue& value);

} // namespace keyreap
