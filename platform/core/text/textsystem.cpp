#include "platform/core/text/text.h"

#include <windows.h>

#include <limits>

namespace keyreap {

std::string WideToMultiByte(std::wstring_view text, std::uint32_t codePage) {
    if (text.empty() || text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return {};
    }
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size < 1) {
        return {};
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    const int written =
        WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return written < 1 ? std::string() : bytes;
}

} // namespace keyreap
