#pragma once

#include "kit/check/checkfacts.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace keyreap {

// "a registry without classes" or "a full registry".
std::wstring_view RegistryName(const RegistrationFacts& registration);

// An HRESULT as people look it up: 0x80004005 (E_FAIL).
std::wstring ResultText(std::uint32_t result);

// True for what the host or one of its libraries writes for whoever runs, and not a server: what
// LibraryThatWrites names, and the fonts that Wine notes for a process of another bitness.
bool IsOfHost(std::wstring_view key, std::wstring_view value);

// How a registrar ended: a small number, or an HRESULT.
std::wstring StatusText(std::uint32_t status);

// Keys for one finding each: not for those below one that was found.
class TopmostKeys {
public:
    // False if the key, or one above it, was added before.
    bool Add(const std::wstring& comparedKey);

private:
    std::set<std::wstring> keys;
};

} // namespace keyreap
