#include "kit/capture/messageline.h"

#include <cstddef>
#include <string_view>

namespace keyreap {

namespace {

bool IsBetween(char byte, unsigned char first, unsigned char last) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= first && value <= last;
}

// The length of a character that doesn't stay, or 0: U+0000 to U+001F, U+007F to U+009F, U+2028 and U+2029.
std::size_t LengthOfControl(std::string_view bytes) {
    if (IsBetween(bytes[0], 0x00, 0x1F) || IsBetween(bytes[0], 0x7F, 0x7F)) {
        return 1;
    }
    if (bytes.size() >= 2 && IsBetween(bytes[0], 0xC2, 0xC2) && IsBetween(bytes[1], 0x80, 0x9F)) {
        return 2;
    }
    return bytes.starts_with("\xE2\x80\xA8") || bytes.starts_with("\xE2\x80\xA9") ? 3 : 0;
}

} // namespace

std::string InOneLine(std::string message) {
    for (std::size_t at = 0; at < message.size(); ++at) {
        const std::size_t length = LengthOfControl(std::string_view(message).substr(at));
        if (length > 0) {
            message.replace(at, length, " ");
        }
    }
    return message;
}

} // namespace keyreap
