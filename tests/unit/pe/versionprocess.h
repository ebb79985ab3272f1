#pragma once

#include <string>

namespace keyreap::testsupport {

// The bits of version_program's exit status.
inline constexpr int versionWasRead = 1;
inline constexpr int fileWasCopied = 2;
inline constexpr int companyWasRead = 4;

// Runs version_program, which takes a version such as "6.3" for the running one and reads the file's version,
// or its company name, and gives its exit status.
int RunVersionProgram(const std::wstring& version, const std::wstring& file,
                      const std::wstring& query = L"version");

} // namespace keyreap::testsupport
