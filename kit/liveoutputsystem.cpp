#include "kit/hostfiles.h"
#include "kit/liveoutput.h"

#include <windows.h>

#include <array>
#include <cstdio>

namespace keyreap {

namespace {

// This program is in the folder of the 64-bit programs.
std::wstring LiveProgram(int bitness) {
    constexpr std::size_t longest = 32767;
    std::wstring own(longest, L'\0');
    own.resize(GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
    own.resize(own.find_last_of(L'\\') + 1);
    return own + (bitness == 64 ? L"" : L"..\\x86\\") + L"KeyKitLive.exe";
}

} // namespace

std::string LiveOutput(int bitness, const std::string& request) {
    // The command interpreter takes the outer quotes away.
    const std::wstring words = L"\"\"" + LiveProgram(bitness) + L"\" \"" + WindowsPathOf(request) + L"\"\"";
    std::FILE* const pipe = _wpopen(words.c_str(), L"rb");
    std::string text;
    std::array<char, 4096> block{};
    for (std::size_t count = 1; pipe != nullptr && count > 0;) {
        count = std::fread(block.data(), 1, block.size(), pipe);
        text.append(block.data(), count);
    }
    if (pipe != nullptr) {
        _pclose(pipe);
    }
    return text;
}

} // namespace keyreap
