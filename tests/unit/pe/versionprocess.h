#pragma once

#include <string>

namespace keyreap::testsupport {

// The bits of version_program's exit status.
inline constexpr int versionWasRead = 1;
inline constexpr int fileWasCopied = 2;

// Runs version_program, which takes a version such as "6.3" for the running one, and gives its exit status.
int RunVersionProgram(const std::wstring& version, const std::wstring& file);

} // namespace keyreap::testsupport
