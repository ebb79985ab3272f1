#include "tests/support/allocationcount.h"
#include "trace/piecelist.h"

#include <gtest/gtest.h>

#include <numeric>
#include <utility>
#include <vector>

namespace keyreap {
namespace {

constexpr int severalPieces = 5000;

PieceList<int> NumbersTo(int count) {
    PieceList<int> list;
    for (int number = 0; number < count; ++number) {
        list.Add(number);
    }
    return list;
}

std::vector<int> Expected(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

TEST(PieceList, IsEmptyAtFirst) {
    const PieceList<int> list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.begin(), list.end());
    EXPECT_EQ(list.PieceCount(), 0U);
}

TEST(PieceList, HasItsObjectsInOrder) {
    const PieceList<int> list = NumbersTo(severalPieces);
    EXPECT_EQ(list.size(), Expected(severalPieces).size());
    EXPECT_EQ(std::vector<int>(list.begin(), list.end()), Expected(severalPieces));
    EXPECT_EQ(list.front(), 0);
    EXPECT_EQ(list.back(), severalPieces - 1);
    EXPECT_EQ(list[4321], 4321);
}

TEST(PieceList, ObjectsCanBeChanged) {
    PieceList<int> list = NumbersTo(severalPieces);
    list[4321] = -1;
    EXPECT_EQ(list[4320], 4320);
    EXPECT_EQ(std::as_const(list)[4321], -1);
    EXPECT_EQ(list[4322], 4322);
}

TEST(PieceList, HasTheSameObjectsPieceByPiece) {
    const PieceList<int> list = NumbersTo(severalPieces);
    std::vector<int> numbers;
    for (std::size_t number = 0; number < list.PieceCount(); ++number) {
        const auto piece = list.Piece(number);
        numbers.insert(numbers.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(numbers, Expected(severalPieces));
    EXPECT_GT(list.PieceCount(), 1U);
}

TEST(PieceList, AFreedPieceIsEmptyAndTheOthersStay) {
    PieceList<int> list = NumbersTo(severalPieces);
    const std::vector<int> second(list.Piece(1).begin(), list.Piece(1).end());
    const std::size_t live = LiveAllocationCount();
    list.FreePiece(0);
    EXPECT_EQ(LiveAllocationCount(), live - 1);
    EXPECT_TRUE(list.Piece(0).empty());
    EXPECT_EQ(std::vector<int>(list.Piece(1).begin(), list.Piece(1).end()), second);
}

TEST(PieceList, ObjectsStayWhereTheyAre) {
    PieceList<int> list = NumbersTo(1);
    const int* const first = &list.front();
    for (int number = 0; number < severalPieces; ++number) {
        list.Add(number);
    }
    EXPECT_EQ(&list.front(), first);
}

} // namespace
} // namespace keyreap
