#include "kit/lint/securitydescriptor.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

namespace keyreap {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr auto none = AccessOfEveryone::None;
constexpr auto thisMachine = AccessOfEveryone::ThisMachine;
constexpr auto otherMachines = AccessOfEveryone::OtherMachines;
constexpr auto unreadable = AccessOfEveryone::Unreadable;

constexpr std::uint8_t allowed = 0;
constexpr std::uint8_t denied = 1;
constexpr std::uint8_t inheritOnly = 8;

const Bytes everyone = {1, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
const Bytes anonymous = {1, 1, 0, 0, 0, 0, 0, 5, 7, 0, 0, 0};
const Bytes system = {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0};

Bytes Entry(std::uint8_t kind, std::uint8_t rights, const Bytes& account, std::uint8_t flags = 0) {
    Bytes entry = {kind, flags, 20, 0, rights, 0, 0, 0};
    entry.insert(entry.end(), account.begin(), account.end());
    return entry;
}

Bytes Descriptor(std::initializer_list<Bytes> entries) {
    const auto size = static_cast<std::uint8_t>(8 + 20 * entries.size());
    Bytes bytes = {1, 0, 4, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 20, 0, 0, 0};
    const Bytes head = {2, 0, size, 0, static_cast<std::uint8_t>(entries.size()), 0, 0, 0};
    bytes.insert(bytes.end(), head.begin(), head.end());
    for (const Bytes& entry : entries) {
        bytes.insert(bytes.end(), entry.begin(), entry.end());
    }
    return bytes;
}

TEST(AccessOfEveryoneIn, EntriesOfOthersDontCount) {
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({})), none);
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(allowed, 31, system)})), none);
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(allowed, 31, everyone, inheritOnly)})), none);
}

TEST(AccessOfEveryoneIn, RemoteRightsAreForOtherMachines) {
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(allowed, 1 | 2 | 8, everyone)})), thisMachine);
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(allowed, 1 | 4, everyone)})), otherMachines);
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(allowed, 16, anonymous)})), otherMachines);
}

TEST(AccessOfEveryoneIn, TheRightToExecuteAloneMeansAllRights) {
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(allowed, 1, everyone)})), otherMachines);
}

TEST(AccessOfEveryoneIn, AGenericRightMeansAllRights) {
    Bytes entry = Entry(allowed, 0, everyone);
    entry[7] = 0x10;
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({entry})), otherMachines);
}

TEST(AccessOfEveryoneIn, AnEarlierEntryDecides) {
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(denied, 31, everyone), Entry(allowed, 31, everyone)})),
              none);
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(allowed, 31, everyone), Entry(denied, 31, everyone)})),
              otherMachines);
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(denied, 20, everyone), Entry(allowed, 31, everyone)})),
              thisMachine);
    EXPECT_EQ(AccessOfEveryoneIn(Descriptor({Entry(denied, 31, anonymous), Entry(allowed, 31, everyone)})),
              otherMachines);
}

TEST(AccessOfEveryoneIn, NoListLetsEverybodyIn) {
    Bytes withoutList = Descriptor({});
    withoutList[2] = 0;
    EXPECT_EQ(AccessOfEveryoneIn(withoutList), otherMachines);
    Bytes withoutPlace = Descriptor({});
    withoutPlace[16] = 0;
    EXPECT_EQ(AccessOfEveryoneIn(withoutPlace), otherMachines);
}

TEST(AccessOfEveryoneIn, EveryCutIsUnreadable) {
    const Bytes whole = Descriptor({Entry(allowed, 31, everyone), Entry(allowed, 31, system)});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(AccessOfEveryoneIn(std::span(whole).first(size)), unreadable) << size;
    }
}

TEST(AccessOfEveryoneIn, NumbersThatPointOutsideAreUnreadable) {
    const Bytes whole = Descriptor({Entry(allowed, 31, everyone)});
    // The place and the size of the list, its number of entries, the size of an entry.
    for (const std::size_t at : {16U, 19U, 22U, 23U, 24U, 25U, 30U, 31U}) {
        Bytes wrong = whole;
        wrong[at] = 0xFF;
        EXPECT_EQ(AccessOfEveryoneIn(wrong), unreadable) << at;
    }
    Bytes empty = whole;
    empty[30] = 0;
    EXPECT_EQ(AccessOfEveryoneIn(empty), unreadable);
}

TEST(AccessOfEveryoneIn, AnotherRevisionAndPiecesAreUnreadable) {
    Bytes revision = Descriptor({});
    revision[0] = 2;
    EXPECT_EQ(AccessOfEveryoneIn(revision), unreadable);
    Bytes pieces = Descriptor({});
    pieces[3] = 0;
    EXPECT_EQ(AccessOfEveryoneIn(pieces), unreadable);
}

} // namespace
} // namespace keyreap
