#pragma once

#include <cstddef>
#include <string>
#include <vector>

// A text whose paths of the build machine are known as such.
namespace keyreap {

enum class PieceKind {
    Literal,   // text as it is
    File,      // the path of an installed server
    Directory, // the path of a folder, without a backslash at its end
};

struct Piece {
    PieceKind kind = PieceKind::Literal;
    std::wstring text;      // of a literal; the name of a folder
    std::size_t server = 0; // of a file

    friend bool operator==(const Piece&, const Piece&) = default;
};

using PieceText = std::vector<Piece>;

// The text of literals, with the given text for every other piece.
template <typename OfPiece>
std::wstring TextOfPieces(const PieceText& pieces, const OfPiece& ofPiece) {
    std::wstring text;
    for (const Piece& piece : pieces) {
        text += ofPiece(piece);
    }
    return text;
}

// True if all pieces are literals.
bool IsLiteral(const PieceText& pieces);

// The first absolute path in the literals, which is one of the build machine; empty without one.
std::wstring AbsolutePathLeftIn(const PieceText& pieces);

} // namespace keyreap
