#pragma once

#include <string>

namespace keyreap {

// The folder of the system, where a prefix keeps the files of its logger; empty if the system doesn't give
// it. Windows only.
std::wstring SystemFolder();

} // namespace keyreap
