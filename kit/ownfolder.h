#pragma once

#include <string>

namespace keyreap {

// The folder of this program, with a backslash at the end. It is that of the 64-bit programs. Windows only.
std::wstring OwnFolder();

} // namespace keyreap
