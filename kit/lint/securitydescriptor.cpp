#include "kit/lint/securitydescriptor.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace keyreap {

namespace {

using Bytes = std::span<const std::uint8_t>;

// Rights of COM (objidl.h). Without one of the other four, the first means all of them.
constexpr std::uint32_t executeLocal = 2;
constexpr std::uint32_t executeRemote = 4;
constexpr std::uint32_t activateLocal = 8;
constexpr std::uint32_t activateRemote = 16;
constexpr std::uint32_t execute = 1;
constexpr std::uint32_t remote = executeRemote | activateRemote;
constexpr std::uint32_t special = executeLocal | activateLocal | remote;
constexpr std::uint32_t generic = 0xF0000000;

// S-1-1-0 (everyone) and S-1-5-7 (anonymous logon).
constexpr std::array<std::uint8_t, 12> everyone = {1, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
constexpr std::array<std::uint8_t, 12> anonymous = {1, 1, 0, 0, 0, 0, 0, 5, 7, 0, 0, 0};

std::optional<Bytes> PartOf(Bytes data, std::size_t at, std::size_t size) {
    return at <= data.size() && size <= data.size() - at ? std::optional(data.subspan(at, size))
                                                         : std::nullopt;
}

// The caller knows that the bytes are there.
std::uint32_t NumberAt(Bytes data, std::size_t at, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = size; i > 0; --i) {
        number = number << 8 | data[at + i - 1];
    }
    return number;
}

std::uint32_t AllRights(std::uint32_t mask) {
    if ((mask & generic) != 0) {
        return execute | special;
    }
    return (mask & execute) != 0 && (mask & special) == 0 ? mask | special : mask;
}

// An entry of a list: a type, flags, its size, the rights, and whose they are.
struct AccessEntry {
    bool isDenial = false;
    std::uint32_t rights = 0;
};

// None for entries of others, and for those that only what is created below inherits.
std::optional<AccessEntry> EntryOf(Bytes account, Bytes entry) {
    constexpr std::uint8_t allowed = 0;
    constexpr std::uint8_t denied = 1;
    constexpr std::uint8_t inheritOnly = 8;
    constexpr std::size_t head = 8;
    const auto sid = PartOf(entry, head, account.size());
    const bool isOfAccount = sid && std::ranges::equal(*sid, account);
    if (!isOfAccount || (entry[0] != allowed && entry[0] != denied) || (entry[1] & inheritOnly) != 0) {
        return std::nullopt;
    }
    return AccessEntry{entry[0] == denied, AllRights(NumberAt(entry, 4, 4))};
}

AccessOfEveryone AccessOf(std::uint32_t rights) {
    if ((rights & remote) != 0) {
        return AccessOfEveryone::OtherMachines;
    }
    return (rights & (execute | special)) != 0 ? AccessOfEveryone::ThisMachine : AccessOfEveryone::None;
}

// An earlier entry decides about a right.
AccessOfEveryone AccessIn(Bytes list, Bytes account) {
    constexpr std::size_t head = 8;
    if (list.size() < head) {
        return AccessOfEveryone::Unreadable;
    }
    std::uint32_t granted = 0;
    std::uint32_t refused = 0;
    std::size_t at = head;
    for (std::uint32_t count = NumberAt(list, 4, 2); count > 0; --count) {
        const auto front = PartOf(list, at, head);
        const std::size_t size = front ? NumberAt(*front, 2, 2) : 0;
        const auto entry = PartOf(list, at, size);
        if (size < head || !entry) {
            return AccessOfEveryone::Unreadable;
        }
        if (const std::optional<AccessEntry> found = EntryOf(account, *entry)) {
            (found->isDenial ? refused : granted) |= found->rights & ~(granted | refused);
        }
        at += size;
    }
    return AccessOf(granted);
}

} // namespace

AccessOfEveryone AccessOfEveryoneIn(Bytes data) {
    constexpr std::size_t head = 20;
    constexpr std::uint32_t hasList = 0x0004;
    constexpr std::uint32_t isInOnePiece = 0x8000;
    if (data.size() < head || data[0] != 1 || (NumberAt(data, 2, 2) & isInOnePiece) == 0) {
        return AccessOfEveryone::Unreadable;
    }
    const std::uint32_t at = NumberAt(data, 16, 4);
    if ((NumberAt(data, 2, 2) & hasList) == 0 || at == 0) {
        return AccessOfEveryone::OtherMachines; // no list at all lets everybody in
    }
    const auto front = PartOf(data, at, 8);
    const auto list = front ? PartOf(data, at, NumberAt(*front, 2, 2)) : std::nullopt;
    return list ? std::max(AccessIn(*list, everyone), AccessIn(*list, anonymous))
                : AccessOfEveryone::Unreadable;
}

} // namespace keyreap
