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
    HandleName*& found = RecentFor(handle);
    if (found != nullptr && found->Handle() == handle) {
        return found;
    }
    HandleName* const name = FindInSlots(handle);
    if (name != nullptr) {
        found = name;
    }
    return name;
}

void HandleNames::Set(std::uint64_t handle, std::span<const std::byte> units) {
    if (handle == 0) {
        return; // an operation with it has no handle
    }
    HandleName* const found = Find(handle);
    (found != nullptr ? *found : Add(handle)).Replace(units, texts);
}

HandleName*& HandleNames::RecentFor(std::uint64_t handle) {
    constexpr std::uint64_t leastDistance = 16; // of two addresses of a 64-bit kernel's pool
    return recent[static_cast<std::size_t>(handle / leastDistance) % recent.size()];
}

HandleName* HandleNames::FindInSlots(std::uint64_t handle) {
    const std::uint32_t number = slots.empty() ? 0 : slots[SlotOf(handle)];
    return number == 0 ? nullptr : &names[number - 1];
}

// For a handle that has no name.
HandleName& HandleNames::Add(std::uint64_t handle) {
    if (2 * names.size() >= slots.size()) {
        AddSlots();
    }
    HandleName& name = names.Add(HandleName(handle));
    slots[SlotOf(handle)] = static_cast<std::uint32_t>(names.size());
    RecentFor(handle) = &name;
    return name;
}

void HandleNames::Clear() {
    recent = {};
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
