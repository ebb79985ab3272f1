#include "trace/payload.h"

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
    WideRun run;
    for (; run.text.size() < limit && Holds(offset, 2); offset += 2) {
        const auto unit = static_cast<wchar_t>(Number<std::uint16_t>(offset));
        if (unit == L'\0') {
            run.terminated = true;
            break;
        }
        run.text += unit;
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
