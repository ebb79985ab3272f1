#pragma once

#include "trace/predefinedroot.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace keyreap {

// The handle of a predefined root.
HKEY HandleOf(PredefinedRoot root);

// Reads one value, of any size, of a key that can be opened for reading and writing. False if the key can't
// be opened or the value can't be read; `type` and `data` are then undefined.
bool ReadLiveValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                   std::uint32_t& type, std::vector<std::uint8_t>& data);

} // namespace keyreap
