#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace keyreap {

// A version of Windows, as the registry reports it.
struct OsVersion {
    std::uint32_t majorVersion = 0;
    std::uint32_t minorVersion = 0;
    std::int32_t buildNumber = 0;
    std::uint32_t servicePack = 0;         // the last digit of csdVersion
    std::array<wchar_t, 128> csdVersion{}; // the service pack's text, cut to fit, always terminated
    std::uint16_t productType = 1;         // 1 workstation, 2 domain controller, 3 server
    std::uint16_t suiteMask = 0;           // VER_SUITE_ flags of winnt.h
    bool isServer = false;
    bool isRead = false; // the record was read from the registry
};

// True if `a` is equal to or later than `b`. Major, minor, service pack and build number decide in this
// order, the build number last, all as unsigned numbers.
bool IsAtLeast(const OsVersion& a, const OsVersion& b);

// Fills the record from this machine's registry (the 64-bit view in both builds). A field that can't be read
// keeps its value. Windows only.
void ReadRunningOsVersion(OsVersion& record);

// The version of the running system, read on first use. Windows only.
const OsVersion& RunningVersion();

// Version 6.0, the first whose HKEY_CLASSES_ROOT needs Software\Classes in a redirection.
const OsVersion& VistaVersion();

// Version 10.0, the first on which a system file's version is read from a copy.
const OsVersion& Windows10Version();

// The functions below put the registry's values into a record.

// The value "CurrentVersion": sets major and minor from a text of exactly three characters such as "6.1";
// any other text changes nothing.
void SetVersionFromText(OsVersion& record, std::wstring_view currentVersion);

// The value "CSDVersion": keeps the text and its last digit. An empty text means service pack 0.
void SetServicePack(OsVersion& record, std::wstring_view csdVersion);

// The value "ProductType": "WinNT", "ServerNT", or any other text for a domain controller.
void SetProductType(OsVersion& record, std::wstring_view productType);

// The value "ProductSuite" with its zero-terminated words: adds the flag of each known word, up to the first
// empty word.
void AddProductSuites(OsVersion& record, std::wstring_view words);

} // namespace keyreap
