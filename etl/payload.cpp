#include "etl/payload.h"

#include <algorithm>

namespace keyreap {

std::uint64_t Payload::NumberOf(std::size_t offset, std::size_t size) const {
    if (!Holds(offset, size)) {
        return 0;
    }
    std::uint64_t number = 0;
    for (std::size_t i = size; i > 0; --i) {
        number = number << 8 | std::to_integer<std::uint64_t>(bytes[offset + i - 1]);
    }
    return number;
}

Payload::WideRun Payload::WideText(std::size_t offset, std::size_t limit) const {
    const std::span<const std::byte> rest = bytes.subspan(std::min(offset, bytes.size()));
    const std::size_t most = std::min(limit, rest.size() / 2);
    const auto unitAt = [rest](std::size_t index) { return LoadNumber<std::uint16_t>(rest, 2 * index); };
    std::size_t length = 0;
    while (length < most && unitAt(length) != 0) {
        ++length;
    }
    WideRun run{std::wstring(length, L'\0'), length < most};
    for (std::size_t i = 0; i < length; ++i) {
        run.text[i] = static_cast<wchar_t>(unitAt(i));
    }
    return run;
}

Payload::NarrowRun Payload::NarrowText(std::size_t offset) const {
    NarrowRun run;
    for (; Holds(offset, 1); ++offset) {
        const auto character = std::to_integer<char>(bytes[offset]);
        if (character == '\0') {
            run.terminated = true;
            break;
        }
        run.text += character;
    }
    return run;
}

std::string Payload::Bytes(std::size_t offset, std::size_t size) const {
    std::string content;
    for (const std::byte byte : bytes.subspan(offset, size)) {
        content += std::to_integer<char>(byte);
    }
    return content;
}

} // namespace keyreap
