#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace keyreap::testsupport {

// Appends little-endian numbers and texts to bytes.
class ByteWriter {
public:
    std::size_t Size() const { return bytes.size(); }
    const std::string& Bytes() const { return bytes; }

    template <typename Integer>
    void Put(Integer value) {
        bytes.resize(bytes.size() + sizeof(Integer));
        Set(bytes.size() - sizeof(Integer), value);
    }

    // Overwrites at a place that is there.
    template <typename Integer>
    void Set(std::size_t place, Integer value) {
        for (std::size_t i = 0; i < sizeof(Integer); ++i) {
            bytes[place + i] = static_cast<char>((static_cast<std::uint64_t>(value) >> (8 * i)) & 0xFF);
        }
    }

    void PutBytes(std::string_view text) { bytes += text; }

    void PutZeroTerminated(std::string_view text) {
        bytes += text;
        bytes += '\0';
    }

    // UTF-16 units with a zero after them.
    void PutWideZeroTerminated(std::u16string_view text) {
        for (const char16_t unit : text) {
            Put<std::uint16_t>(unit);
        }
        Put<std::uint16_t>(0);
    }

    // Fills up with zeros to a multiple of `unit`.
    void Align(std::size_t unit) { bytes.resize((bytes.size() + unit - 1) / unit * unit); }

    void FillTo(std::size_t size) { bytes.resize(size); }

private:
    std::string bytes;
};

} // namespace keyreap::testsupport
