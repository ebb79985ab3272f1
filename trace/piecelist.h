#pragma once

#include <cstddef>
#include <iterator>
#include <span>
#include <vector>

namespace keyreap {

// A growing list of objects that stay where they are: in pieces of one size, side by side in each. Unlike a
// vector it copies nothing when it grows, and touches no memory twice.
template <typename Object>
class PieceList {
public:
    using value_type = Object;

    class const_iterator {
    public:
        using value_type = Object;
        using difference_type = std::ptrdiff_t;
        using pointer = const Object*;
        using reference = const Object&;
        using iterator_category = std::forward_iterator_tag;

        const_iterator() = default;
        const_iterator(const PieceList& list, std::size_t position) : list(&list), position(position) {}

        const Object& operator*() const { return (*list)[position]; }
        const Object* operator->() const { return &(*list)[position]; }
        const_iterator& operator++() {
            ++position;
            return *this;
        }
        const_iterator operator++(int) {
            const const_iterator before = *this;
            ++position;
            return before;
        }
        bool operator==(const const_iterator&) const = default;

    private:
        const PieceList* list = nullptr;
        std::size_t position = 0;
    };
    using iterator = const_iterator;

    const_iterator begin() const { return {*this, 0}; }
    const_iterator end() const { return {*this, count}; }
    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }
    const Object& operator[](std::size_t position) const {
        return pieces[position / pieceSize][position % pieceSize];
    }
    Object& operator[](std::size_t position) { return pieces[position / pieceSize][position % pieceSize]; }
    const Object& front() const { return pieces.front().front(); }
    const Object& back() const { return pieces.back().back(); }

    Object& Add(const Object& object) {
        if (count % pieceSize == 0) {
            pieces.emplace_back().reserve(pieceSize);
        }
        pieces.back().push_back(object);
        ++count;
        return pieces.back().back();
    }

    // The objects in their order, piece by piece.
    std::size_t PieceCount() const { return pieces.size(); }
    std::span<const Object> Piece(std::size_t number) const { return pieces[number]; }
    std::span<Object> Piece(std::size_t number) { return pieces[number]; }

    // Frees the objects of a piece, which nobody reads from then on.
    void FreePiece(std::size_t number) { pieces[number] = std::vector<Object>(); }

private:
    static constexpr std::size_t pieceSize = 1024;

    std::vector<std::vector<Object>> pieces;
    std::size_t count = 0;
};

} // namespace keyreap
