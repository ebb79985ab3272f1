#include "trace/handlenames.h"

#include "etl/payload.h"
#include "platform/core/text/hash.h"

#include <algorithm>
#include <cstring>

namespace keyreap {

namespace {

constexpr std::size_t firstSlots = 64;

} // namespace

void HandleName::CopyTo(std::wstring& text) const {
    Payload::TakeUnits({bytes, size}, text);
}

void HandleName::Replace(std::span<const std::byte> units, Arena& arena) {
    if (units.size() == size && (size == 0 || std::memcmp(units.data(), bytes, size) == 0)) {
        return; // the place stays, too
    }
    if (units.size() > capacity) {
        capacity = std::max(static_cast<std::uint32_t>(units.size()), 2 * capacity);
        bytes = arena.Allocate<std::byte>(capacity);
    }
    size = static_cast<std::uint32_t>(units.size());
    if (size != 0) {
        std::memcpy(bytes, units.data(), size);
    }
    place = nullptr;
}

HandleName* HandleNames::Find(std::uint64_t handle) {
    if (last != nullptr && last->Handle() == handle) {
        return last;
    }
    if (slots.empty()) {
        return nullptr;
    }
    const std::uint32_t number = slots[SlotOf(handle)];
    last = number == 0 ? nullptr : &names[number - 1];
    return last;
}

void HandleNames::Set(std::uint64_t handle, std::span<const std::byte> units) {
    if (handle == 0) {
        return; // an operation with it has no handle
    }
    if (2 * names.size() >= slots.size()) {
        AddSlots();
    }
    std::uint32_t& number = slots[SlotOf(handle)];
    if (number == 0) {
        names.Add(HandleName(handle));
        number = static_cast<std::uint32_t>(names.size());
    }
    names[number - 1].Replace(units, texts);
}

void HandleNames::Clear() {
    last = nullptr;
    slots = std::vector<std::uint32_t>();
    names = PieceList<HandleName>();
    texts.Release();
}

// Where the handle is, or else belongs.
std::size_t HandleNames::SlotOf(std::uint64_t handle) {
    std::size_t slot = Fnv1aHash()(handle) & (slots.size() - 1);
    while (slots[slot] != 0 && names[slots[slot] - 1].Handle() != handle) {
        slot = (slot + 1) & (slots.size() - 1);
    }
    return slot;
}

void HandleNames::AddSlots() {
    slots.assign(std::max(firstSlots, 2 * slots.size()), 0);
    for (std::uint32_t number = 1; number <= names.size(); ++number) {
        slots[SlotOf(names[number - 1].Handle())] = number;
    }
}

} // namespace keyreap
