#include "kit/emit/installdata.h"

#include <algorithm>

namespace keyreap {

bool IsLiteral(const PieceText& pieces) {
    return std::ranges::all_of(pieces, [](const Piece& piece) { return piece.kind == PieceKind::Literal; });
}

void AddNotes(std::vector<EmitNote>& notes, const InstallKey& key, const std::wstring& reason) {
    if (key.values.empty()) {
        notes.push_back({key.place, reason});
    }
    for (const InstallValue& value : key.values) {
        notes.push_back({value.place, reason});
    }
}

} // namespace keyreap
