#include "kit/emit/stableguid.h"

#include "pe/sha1.h"
#include "platform/core/text/text.h"
#include "regmodel/regplace.h"

#include <array>

namespace keyreap {

namespace {

using GuidBytes = std::array<std::byte, 16>;

// In the order of the text.
GuidBytes BytesOf(const Guid& guid) {
    GuidBytes bytes;
    std::size_t at = 0;
    const auto put = [&](std::uint64_t value, int size) {
        for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
            bytes[at++] = static_cast<std::byte>((value >> shift) & 0xFF);
        }
    };
    put(guid.data1, 4);
    put(guid.data2, 2);
    put(guid.data3, 2);
    for (const std::uint8_t byte : guid.data4) {
        put(byte, 1);
    }
    return bytes;
}

} // namespace

std::optional<Guid> WholeGuid(std::wstring_view text) {
    std::wstring braced(text);
    if (!braced.starts_with(L'{')) {
        braced = L'{' + braced + L'}';
    }
    return IsGuidText(braced) ? std::optional(ParseGuid(braced)) : std::nullopt;
}

std::wstring BareGuidText(const Guid& guid) {
    std::wstring text;
    std::size_t count = 0;
    for (const std::byte byte : BytesOf(guid)) {
        text += count == 4 || count == 6 || count == 8 || count == 10 ? L"-" : L"";
        AppendHexByte(text, static_cast<unsigned>(byte));
        ++count;
    }
    for (wchar_t& digit : text) {
        digit = digit >= L'a' ? static_cast<wchar_t>(digit - L'a' + L'A') : digit;
    }
    return text;
}

Guid NamedGuid(const Guid& space, std::string_view name) {
    Sha1 sha1;
    sha1.Add(BytesOf(space));
    sha1.Add(std::as_bytes(std::span(name)));
    const Sha1Digest digest = sha1.Finish();
    const auto number = [&digest](std::size_t at, std::size_t size) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = value << 8 | digest[at + i];
        }
        return value;
    };
    Guid guid;
    guid.data1 = number(0, 4);
    guid.data2 = static_cast<std::uint16_t>(number(4, 2));
    guid.data3 = static_cast<std::uint16_t>((number(6, 2) & 0x0FFF) | 0x5000); // the version
    for (std::size_t i = 0; i < guid.data4.size(); ++i) {
        guid.data4[i] = digest[8 + i];
    }
    guid.data4[0] = static_cast<std::uint8_t>((guid.data4[0] & 0x3F) | 0x80); // the variant
    return guid;
}

} // namespace keyreap
