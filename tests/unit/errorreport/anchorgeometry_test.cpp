#include "platform/core/errorreport/anchorgeometry.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr Box stored = {10, 20, 60, 40};
constexpr Extent base = {200, 100};
constexpr Extent larger = {230, 170};

Box Anchored(unsigned anchors, Extent now) {
    return AnchoredBox(anchors, stored, stored, base, now);
}

TEST(AnchoredBox, WithoutAnchorsStays) {
    EXPECT_EQ(Anchored(0, larger), stored);
}

TEST(AnchoredBox, StretchRightMovesTheRightEdgeAlone) {
    EXPECT_EQ(Anchored(Anchor::stretchRight, larger), (Box{10, 20, 90, 40}));
}

TEST(AnchoredBox, StretchBottomMovesTheBottomEdgeAlone) {
    EXPECT_EQ(Anchored(Anchor::stretchBottom, larger), (Box{10, 20, 60, 110}));
}

TEST(AnchoredBox, MoveRightKeepsTheWidth) {
    EXPECT_EQ(Anchored(Anchor::moveRight, larger), (Box{40, 20, 90, 40}));
}

TEST(AnchoredBox, MoveBottomKeepsTheHeight) {
    EXPECT_EQ(Anchored(Anchor::moveBottom, larger), (Box{10, 90, 60, 110}));
}

TEST(AnchoredBox, AnchorsCombine) {
    EXPECT_EQ(Anchored(Anchor::stretchRight | Anchor::stretchBottom, larger), (Box{10, 20, 90, 110}));
    EXPECT_EQ(Anchored(Anchor::moveRight | Anchor::moveBottom, larger), (Box{40, 90, 90, 110}));
}

TEST(AnchoredBox, FollowsASmallerWindowToo) {
    EXPECT_EQ(Anchored(Anchor::moveRight | Anchor::moveBottom, {190, 95}), (Box{0, 15, 50, 35}));
}

TEST(AnchoredBox, TakesUnanchoredEdgesFromThePresentPlace) {
    const Box current = {15, 25, 70, 50};
    EXPECT_EQ(AnchoredBox(Anchor::stretchRight, stored, current, base, larger), (Box{15, 25, 90, 50}));
    EXPECT_EQ(AnchoredBox(Anchor::moveBottom, stored, current, base, larger), (Box{15, 90, 70, 110}));
}

TEST(Box, IsEmptyWithoutWidthOrHeight) {
    EXPECT_TRUE((Box{0, 0, 0, 0}).IsEmpty());
    EXPECT_TRUE((Box{5, 5, 5, 9}).IsEmpty());
    EXPECT_TRUE((Box{5, 5, 9, 5}).IsEmpty());
    EXPECT_FALSE(stored.IsEmpty());
}

TEST(CentredBox, LiesInTheMiddleOfTheArea) {
    EXPECT_EQ(CentredBox({0, 0, 1280, 1024}, {551, 147}), (Box{364, 438, 915, 585}));
    EXPECT_EQ(CentredBox({-1920, 40, 0, 1080}, {100, 40}), (Box{-1010, 540, -910, 580}));
}

TEST(CentredBox, BeginsWithAnAreaThatIsTooSmall) {
    EXPECT_EQ(CentredBox({10, 20, 110, 120}, {160, 40}), (Box{10, 50, 170, 90}));
    EXPECT_EQ(CentredBox({10, 20, 110, 120}, {40, 160}), (Box{40, 20, 80, 180}));
}

} // namespace
} // namespace keyreap
