#include "kit/show/base64.h"

#include <string_view>

namespace keyreap {

std::string Base64Of(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = bytes.size() - at < 3 ? bytes.size() - at : 3;
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = group << 8 | (i < count ? bytes[at + i] : 0u);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= count ? digits[group >> (18 - 6 * i) & 0x3F] : '=';
        }
    }
    return text;
}

} // namespace keyreap
