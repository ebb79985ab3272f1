#include "kit/ownfolder.h"

#include <windows.h>

#include <cstddef>

namespace keyreap {

std::wstring OwnFolder() {
    constexpr std::size_t longest = 32767;
    std::wstring own(longest, L'\0');
    own.resize(GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
    own.resize(own.find_last_of(L'\\') + 1);
    return own;
}

} // namespace keyreap
