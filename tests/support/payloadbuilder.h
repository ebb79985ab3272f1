#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace keyreap {

// A payload built value by value, little-endian.
class PayloadBuilder {
public:
    PayloadBuilder& U8(std::uint8_t value) { return Append(value, 1); }
    PayloadBuilder& U16(std::uint16_t value) { return Append(value, 2); }
    PayloadBuilder& U32(std::uint32_t value) { return Append(value, 4); }
    PayloadBuilder& U64(std::uint64_t value) { return Append(value, 8); }
    PayloadBuilder& Zeros(std::size_t count);
    PayloadBuilder& Narrow(std::string_view text); // without terminator
    PayloadBuilder& Wide(std::wstring_view text);  // without terminator
    PayloadBuilder& WideZ(std::wstring_view text) { return Wide(text).U16(0); }

    std::vector<std::byte> bytes;

private:
    PayloadBuilder& Append(std::uint64_t value, std::size_t size);
};

} // namespace keyreap
