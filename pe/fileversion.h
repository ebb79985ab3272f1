#pragma once

#include <string>

namespace keyreap {

// Both read a file's version resource and leave their output alone on failure. A PE file whose version
// resource doesn't lie inside the file has none.

// The file version as text, such as "6.1.7601.17514"; "0.0.0.0" for a resource without the fixed part. Reads
// through a ShimClone.
bool ReadFileVersion(const std::wstring& path, std::wstring& versionText);

// Takes a file's path and gives the company name in its place: the one in the first language that the
// resource lists, and no other. Reads the file in place, with no ShimClone; that difference stays.
bool ReadCompanyName(std::wstring& pathAndResult);

} // namespace keyreap
