#pragma once

#include "tests/native/fuzzinput.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// .reg files of pieces of meaningful ones, since random bytes rarely are one.
namespace keyreap::fuzz {

// An empty piece takes a unit from the input.
inline std::wstring PiecedText(Input& input, std::span<const std::wstring_view> pieces,
                               std::wstring_view header) {
    std::wstring text(header);
    while (!input.IsEmpty()) {
        const std::wstring_view piece = pieces[input.Byte() % pieces.size()];
        text += piece;
        if (piece.empty()) {
            text += input.Unit();
        }
    }
    return text;
}

// The file of an input: random bytes, pieces in a file of either version, or with the other line end.
inline std::vector<std::uint8_t> RegFileOf(Input& input, std::span<const std::wstring_view> pieces) {
    const std::uint8_t form = input.Byte() % 4;
    if (form == 0) {
        const auto bytes = input.TakeRest();
        const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.data());
        return {first, first + bytes.size()};
    }
    if (form == 1) {
        std::wstring text = PiecedText(input, pieces, L"REGEDIT4\r\n");
        for (wchar_t& unit : text) {
            unit = static_cast<wchar_t>(unit & 0x7F);
        }
        return {text.begin(), text.end()};
    }
    const std::wstring_view lineEnd = form == 2 ? L"\r\n" : L"\n";
    const std::wstring text =
        PiecedText(input, pieces, std::wstring(L"Windows Registry Editor Version 5.00").append(lineEnd));
    std::vector<std::uint8_t> bytes = {0xFF, 0xFE};
    for (const wchar_t unit : text) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
    }
    return bytes;
}

} // namespace keyreap::fuzz
