#include "platform/core/text/text.h"
#include "platform/os/file/textencoding.h"

namespace keyreap {

std::string EncodeText(std::wstring_view text, TextEncoding encoding) {
    const std::optional<std::uint32_t> codePage = CodePageOf(encoding);
    std::string bytes(ByteOrderMark(encoding));
    bytes += codePage ? WideToMultiByte(text, *codePage) : EncodeUnits(text, encoding);
    return bytes;
}

} // namespace keyreap
