#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The system's text for an error, or nothing, and its code: ": Invalid handle (error 6)".
std::wstring ErrorText(std::uint32_t error);

// Loads the files one by one, as the program loads a server, and gives why the first one fails that does;
// each comes after those it needs, so that this is where the failure begins. Runs code of the files. Empty if
// all can be loaded.
std::wstring LoadReason(const std::vector<std::wstring>& files);

} // namespace keyreap
