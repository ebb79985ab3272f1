#include "tests/support/payloadbuilder.h"

namespace keyreap {

PayloadBuilder& PayloadBuilder::Zeros(std::size_t count) {
    bytes.insert(bytes.end(), count, std::byte{0});
    return *this;
}

PayloadBuilder& PayloadBuilder::Narrow(std::string_view text) {
    for (const char character : text) {
        U8(static_cast<std::uint8_t>(character));
    }
    return *this;
}

PayloadBuilder& PayloadBuilder::Wide(std::wstring_view text) {
    for (const wchar_t unit : text) {
        U16(static_cast<std::uint16_t>(unit));
    }
    return *this;
}

PayloadBuilder& PayloadBuilder::Append(std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        bytes.push_back(static_cast<std::byte>(value >> (8 * i) & 0xFF));
    }
    return *this;
}

} // namespace keyreap
