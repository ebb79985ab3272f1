#pragma once

#include "regmodel/regentry.h"

#include <string>
#include <string_view>

// How names and texts are spelled in a file of a style.
namespace keyreap {

// The name with its quotes and the equals sign; @= for the default value.
std::wstring LeftSide(const RegEntry& entry, const RegStyle& style);

// The right side of the Text form.
std::wstring TextSide(const RegEntry& entry, const RegStyle& style);

} // namespace keyreap
