#include "pe/versiontext.h"

#include "platform/core/text/text.h"

namespace keyreap {

namespace {

std::uint32_t HighHalf(std::uint32_t value) {
    return value >> 16;
}

std::uint32_t LowHalf(std::uint32_t value) {
    return value & 0xFFFF;
}

} // namespace

std::wstring FileVersionText(std::uint32_t mostSignificant, std::uint32_t leastSignificant) {
    std::wstring text = IntegerToText(HighHalf(mostSignificant));
    for (const std::uint32_t part :
         {LowHalf(mostSignificant), HighHalf(leastSignificant), LowHalf(leastSignificant)}) {
        text += L'.';
        text += IntegerToText(part);
    }
    return text;
}

std::wstring CompanyNameBlock(std::uint16_t language, std::uint16_t codePage) {
    return L"\\StringFileInfo\\" + HexToText(language, 4) + HexToText(codePage, 4) + L"\\CompanyName";
}

} // namespace keyreap
