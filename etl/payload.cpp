#include "etl/payload.h"

#include <algorithm>

namespace keyreap {

namespace {

std::uint16_t UnitAt(std::span<const std::byte> bytes, std::size_t index) {
    return LoadNumber<std::uint16_t>(bytes, 2 * index);
}

constexpr std::size_t unitsAtOnce = 4;

// Whether one of four units is a NUL.
bool HasNul(std::uint64_t units) {
    return ((units - 0x0001000100010001U) & ~units & 0x8000800080008000U) != 0;
}

// The number of units before the first NUL, at most `most`.
std::size_t UnitsBeforeNul(std::span<const std::byte> bytes, std::size_t most) {
    std::size_t length = 0;
    while (most - length >= unitsAtOnce && !HasNul(LoadNumber<std::uint64_t>(bytes, 2 * length))) {
        length += unitsAtOnce;
    }
    while (length < most && UnitAt(bytes, length) != 0) {
        ++length;
    }
    return length;
}

} // namespace

void StoreUnits(std::span<std::byte> bytes, std::size_t offset, std::wstring_view text) {
    for (const wchar_t unit : text) {
        StoreNumber(bytes, offset, static_cast<std::uint16_t>(unit));
        offset += 2;
    }
}

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
    const std::span<const std::byte> rest = From(offset);
    const std::size_t most = std::min(limit, rest.size() / 2);
    const std::size_t length = UnitsBeforeNul(rest, most);
    WideRun run;
    TakeUnits(rest.first(2 * length), run.text);
    run.terminated = length < most;
    return run;
}

std::span<const std::byte> Payload::TerminatedUnits(std::size_t offset) const {
    const std::span<const std::byte> rest = From(offset);
    const std::size_t most = rest.size() / 2;
    const std::size_t length = UnitsBeforeNul(rest, most);
    return rest.first(length < most ? 2 * length : 0);
}

void Payload::TakeUnits(std::span<const std::byte> units, std::wstring& text) {
    const std::size_t count = units.size() / 2;
    text.resize(count);
    wchar_t* const taken = text.data();
    std::size_t i = 0;
    for (; count - i >= unitsAtOnce; i += unitsAtOnce) {
        const auto some = LoadNumber<std::uint64_t>(units, 2 * i);
        taken[i] = static_cast<wchar_t>(some & 0xFFFF);
        taken[i + 1] = static_cast<wchar_t>(some >> 16 & 0xFFFF);
        taken[i + 2] = static_cast<wchar_t>(some >> 32 & 0xFFFF);
        taken[i + 3] = static_cast<wchar_t>(some >> 48);
    }
    for (; i < count; ++i) {
        taken[i] = static_cast<wchar_t>(UnitAt(units, i));
    }
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
