#include "regmodel/hexlines.h"

#include "platform/core/text/text.h"
#include "regfile/valuetext.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::size_t pairsOfKeyreap = 25;
constexpr std::size_t lastColumn = 77;
constexpr std::size_t unitsOfPair = 3;
constexpr std::size_t indentation = 2;

bool IsOneLine(std::uint32_t type) {
    return type == static_cast<std::uint32_t>(RegType::ExpandSz) ||
           type == static_cast<std::uint32_t>(RegType::MultiSz);
}

// At least one pair is in a line, however long the name is.
std::size_t PairsUpToLastColumn(std::size_t opening) {
    const std::size_t room = opening < lastColumn ? lastColumn - opening : 0;
    return std::max<std::size_t>((room + unitsOfPair - 1) / unitsOfPair, 1);
}

} // namespace

std::wstring HexOpening(RegForm form, std::uint32_t type) {
    return form == RegForm::Bytes ? L"hex:" : L"hex(" + HexToText(type) + L"):";
}

std::vector<std::size_t> PairsOfLines(RegHexLines style, std::uint32_t type, std::size_t opening,
                                      std::size_t count) {
    std::vector<std::size_t> lines;
    std::size_t room = style == RegHexLines::Keyreap ? pairsOfKeyreap : PairsUpToLastColumn(opening);
    if (style == RegHexLines::Keyreap && IsOneLine(type)) {
        room = std::max<std::size_t>(count, 1);
    }
    do {
        lines.push_back(std::min(room, count));
        count -= lines.back();
        room = style == RegHexLines::Keyreap ? room : PairsUpToLastColumn(indentation);
    } while (count > 0);
    return lines;
}

} // namespace keyreap
