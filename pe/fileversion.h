#pragma once

#include <string>

namespace keyreap {

// Both functions read a file's version resource and leave their output unchanged on failure. A PE file whose
// version resource isn't inside the file has none.

// The file version as text, such as "6.1.7601.17514"; "0.0.0.0" for a resource without the fixed part. Reads
// through a ShimClone.
bool ReadFileVersion(const std::wstring& path, std::wstring& versionText);

// Takes a file's path and replaces it by the company name in the first language that the resource lists;
// other languages are not tried. Deliberate: reads the file in place, without a ShimClone, unlike
// ReadFileVersion.
bool ReadCompanyName(std::wstring& pathAndResult);

} // namespace keyreap
