#pragma once

#include "kit/capture/pathforms.h"
#include "kit/emit/installdata.h"
#include "regmodel/regentry.h"

#include <optional>
#include <string>
#include <variant>

namespace keyreap {

// The value that an entry sets, with its paths replaced; otherwise the reason why there is none.
std::variant<InstallValue, std::wstring> InstallValueOf(const RegEntry& entry, const EntryPlace& place,
                                                        PathForms& paths);

// What is wrong with a value's paths though it is carried; empty if nothing is.
std::wstring PathLeftIn(const InstallValue& value, const PathForms& paths);

} // namespace keyreap
