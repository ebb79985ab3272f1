#include "kit/capture/piecetext.h"

#include "kit/capture/pathforms.h"

#include <algorithm>

namespace keyreap {

bool IsLiteral(const PieceText& pieces) {
    return std::ranges::all_of(pieces, [](const Piece& piece) { return piece.kind == PieceKind::Literal; });
}

std::wstring AbsolutePathLeftIn(const PieceText& pieces) {
    for (const Piece& piece : pieces) {
        std::wstring path = piece.kind == PieceKind::Literal ? AbsolutePathIn(piece.text) : L"";
        if (!path.empty()) {
            return path;
        }
    }
    return {};
}

} // namespace keyreap
