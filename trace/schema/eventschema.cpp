#include "trace/schema/eventschema.h"

#include "platform/core/text/text.h"

namespace keyreap {

namespace {

void AppendHex(std::wstring& text, std::uint64_t value, int digits) {
    constexpr std::wstring_view hexDigits = L"0123456789ABCDEF";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        text += hexDigits[value >> shift & 0xF];
    }
}

} // namespace

std::wstring GuidText(const Guid& guid) {
    std::wstring text = L"{";
    AppendHex(text, guid.data1, 8);
    text += L'-';
    AppendHex(text, guid.data2, 4);
    text += L'-';
    AppendHex(text, guid.data3, 4);
    text += L'-';
    for (std::size_t i = 0; i < guid.data4.size(); ++i) {
        if (i == 2) {
            text += L'-';
        }
        AppendHex(text, guid.data4[i], 2);
    }
    text += L'}';
    return text;
}

std::wstring SchemaKey(const Guid& guid, std::uint16_t version, std::uint8_t type) {
    return GuidText(guid) + L"-" + IntegerToText(version) + L"-" + IntegerToText(type);
}

} // namespace keyreap
