#include "regfile/valuetext.h"

#include "platform/core/text/text.h"

#include <algorithm>

namespace keyreap {

namespace {

using Bytes = std::span<const std::uint8_t>;

std::size_t CharacterCount(Bytes data) {
    return data.size() / 2;
}

wchar_t CharacterAt(Bytes data, std::size_t index) {
    return static_cast<wchar_t>(data[2 * index] | (data[2 * index + 1] << 8));
}

std::wstring Characters(Bytes data, std::size_t count) {
    std::wstring text(count, L'\0');
    for (std::size_t i = 0; i < count; ++i) {
        text[i] = CharacterAt(data, i);
    }
    return text;
}

void CutAtNul(std::wstring& text) {
    const std::size_t nul = text.find(L'\0');
    if (nul != std::wstring::npos) {
        text.resize(nul);
    }
}

std::wstring CharactersUpToNul(Bytes data) {
    std::wstring text = Characters(data, CharacterCount(data));
    CutAtNul(text);
    return text;
}

std::wstring HexDigits(Bytes data) {
    std::wstring text;
    text.reserve(2 * data.size());
    for (const std::uint8_t byte : data) {
        AppendHexByte(text, byte);
    }
    return text;
}

std::wstring DwordDigits(Bytes data) {
    std::uint32_t number = 0;
    for (std::size_t i = std::min<std::size_t>(data.size(), 4); i > 0; --i) {
        number = (number << 8) | data[i - 1];
    }
    return std::to_wstring(number);
}

std::wstring MultiStringLines(Bytes data) {
    const std::size_t count = CharacterCount(data);
    std::wstring joined = Characters(data, count);
    for (std::size_t i = 0; i + 1 < count; ++i) {
        if (joined[i] == L'\0') {
            joined[i] = L'\n';
        }
    }
    CutAtNul(joined);

    std::wstring lines;
    lines.reserve(joined.size());
    for (const wchar_t unit : joined) {
        if (unit == L'\n') {
            lines += L'\r';
        }
        lines += unit;
    }
    return lines;
}

} // namespace

void HarvestValueText(std::uint32_t type, Bytes data, ValueText& text) {
    if (data.empty()) {
        text.clear();
        return;
    }
    switch (static_cast<RegType>(type)) {
    case RegType::Sz:
    case RegType::ExpandSz:
        text = CharactersUpToNul(data);
        break;
    case RegType::Binary:
        text = HexDigits(data);
        break;
    case RegType::Dword:
        text = DwordDigits(data);
        break;
    case RegType::MultiSz:
        text = MultiStringLines(data);
        break;
    default:
        // Deliberate: REG_QWORD too is written from the text of the value before it, because files must not
        // change.
        break;
    }
}

ValueText ReplayValueText(std::uint32_t type, Bytes data) {
    switch (static_cast<RegType>(type)) {
    case RegType::Binary:
    case RegType::Qword:
        return HexDigits(data);
    case RegType::Dword:
        return data.size() < 4 ? ValueText() : DwordDigits(data);
    case RegType::MultiSz: {
        const std::size_t count = CharacterCount(data);
        return Characters(data, count > 0 ? count - 1 : 0);
    }
    default:
        return CharactersUpToNul(data);
    }
}

} // namespace keyreap
