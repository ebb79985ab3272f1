#include "platform/os/owned.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<int> closed;

struct NumberPolicy {
    using Handle = int;
    static Handle Empty() { return -1; }
    static bool IsValid(Handle handle) { return handle > 0; }
    static void Close(Handle handle) { closed.push_back(handle); }
};

using OwnedNumber = Owned<NumberPolicy>;

class OwnedTest : public testing::Test {
protected:
    OwnedTest() { closed.clear(); }
};

TEST_F(OwnedTest, StartsEmptyAndClosesNothing) {
    static_cast<void>(OwnedNumber());
    EXPECT_EQ(OwnedNumber().Get(), -1);
    EXPECT_FALSE(OwnedNumber().Valid());
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(OwnedTest, ClosesItsHandleOnceAtTheEnd) {
    {
        const OwnedNumber number(7);
        EXPECT_EQ(number.Get(), 7);
        EXPECT_TRUE(number.Valid());
        EXPECT_THAT(closed, IsEmpty());
    }
    EXPECT_THAT(closed, ElementsAre(7));
}

TEST_F(OwnedTest, AnInvalidHandleIsKeptButNeverClosed) {
    {
        const OwnedNumber number(0);
        EXPECT_EQ(number.Get(), 0);
        EXPECT_FALSE(number.Valid());
    }
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(OwnedTest, ResetClosesTheOldHandleAndTakesTheNew) {
    OwnedNumber number(1);
    number.Reset(2);
    EXPECT_EQ(number.Get(), 2);
    EXPECT_THAT(closed, ElementsAre(1));
    number.Reset();
    EXPECT_FALSE(number.Valid());
    EXPECT_THAT(closed, ElementsAre(1, 2));
    number.Reset();
    EXPECT_THAT(closed, ElementsAre(1, 2));
}

TEST_F(OwnedTest, ReleaseReturnsTheHandleUnclosed) {
    {
        OwnedNumber number(5);
        EXPECT_EQ(number.Release(), 5);
        EXPECT_EQ(number.Get(), -1);
    }
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(OwnedTest, MovingTransfersTheHandle) {
    OwnedNumber first(3);
    const OwnedNumber second(std::move(first));
    EXPECT_EQ(second.Get(), 3);
    EXPECT_FALSE(first.Valid());
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(OwnedTest, MoveAssignmentClosesTheReplacedHandle) {
    OwnedNumber target(1);
    OwnedNumber source(2);
    target = std::move(source);
    EXPECT_EQ(target.Get(), 2);
    EXPECT_FALSE(source.Valid());
    EXPECT_THAT(closed, ElementsAre(1));
}

TEST_F(OwnedTest, MovingToItselfKeepsTheHandleOpen) {
    OwnedNumber number(4);
    OwnedNumber& same = number;
    number = std::move(same);
    EXPECT_EQ(number.Get(), 4);
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(OwnedTest, CannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<OwnedNumber>);
    EXPECT_FALSE(std::is_copy_assignable_v<OwnedNumber>);
}

std::vector<const char*> freed;

void Free(const char* text) {
    freed.push_back(text);
}

TEST(ClosedBy, OwnerClosesItsPointerThroughTheFunction) {
    freed.clear();
    const char* const text = "x";
    static_cast<void>(Owned<ClosedBy<const char*, Free>>(text));
    EXPECT_THAT(freed, ElementsAre(text));
}

TEST(ClosedBy, OwnerIsEmptyWithTheGivenNumber) {
    const Owned<ClosedBy<const char*, Free>> null;
    EXPECT_EQ(null.Get(), nullptr);
    const Owned<ClosedBy<const char*, Free, -1>> minusOne;
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(minusOne.Get()), -1);
    EXPECT_FALSE(minusOne.Valid());
}

TEST(ClosedBy, NullIsNeverClosed) {
    freed.clear();
    static_cast<void>(Owned<ClosedBy<const char*, Free, -1>>(nullptr));
    EXPECT_THAT(freed, IsEmpty());
}

} // namespace
} // namespace keyreap
