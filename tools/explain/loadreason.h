#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// The system's text for an error, if it has one, and the error's code: ": Invalid handle (error 6)".
std::wstring ErrorText(std::uint32_t error);

// Loads the files one by one, as the program loads a server, and returns why the first failing file fails.
// Each file comes after the files that it needs, so the failure begins there. Runs code of the files. Empty
// if all files can be loaded.
std::wstring LoadReason(const std::vector<std::wstring>& files);

} // namespace keyreap
