#include "kit/emit/scripttext.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "platform/core/text/utf8.h"

#include <algorithm>
#include <map>

namespace keyreap {

std::string ScriptBytes(std::wstring_view text) {
    const bool isAscii = std::ranges::all_of(text, [](wchar_t unit) { return unit < 0x80; });
    return (isAscii ? "" : "\xEF\xBB\xBF") + ReadableUtf8(text);
}

bool HasUnwritable(std::wstring_view text, std::wstring_view allowed) {
    const auto isControl = [allowed](wchar_t unit) {
        return unit < L' ' && allowed.find(unit) == std::wstring_view::npos;
    };
    return std::ranges::any_of(text, isControl) || !Utf8OfUnits(text);
}

bool HasUnwritable(const PieceText& pieces, std::wstring_view allowed) {
    return std::ranges::any_of(pieces,
                               [allowed](const Piece& piece) { return HasUnwritable(piece.text, allowed); });
}

bool HasUnwritable(const InstallValue& value, std::wstring_view allowed) {
    return HasUnwritable(value.name, allowed) || HasUnwritable(value.text, allowed) ||
           std::ranges::any_of(value.list,
                               [allowed](const PieceText& text) { return HasUnwritable(text, allowed); });
}

std::vector<KeyName> KeysToRemove(const InstallData& data) {
    // By depth first.
    std::map<std::tuple<std::ptrdiff_t, InstallRoot, std::wstring>, KeyName> names;
    const auto add = [&names](InstallRoot root, const std::wstring& path) {
        const std::ptrdiff_t depth = std::ranges::count(path, L'\\');
        return names.try_emplace({depth, root, FoldedText(path)}, KeyName{root, path}).second;
    };
    for (const InstallComponent& component : data.components) {
        for (const InstallKey& key : component.isKept ? std::vector<InstallKey>() : component.keys) {
            std::wstring path = key.path;
            while (add(key.root, path) && path.find(L'\\') != std::wstring::npos) {
                path.resize(path.rfind(L'\\'));
            }
        }
    }
    std::vector<KeyName> keys;
    for (const auto& [order, key] : names) {
        keys.push_back(key);
    }
    return keys;
}

std::wstring HexDigitsOf(const std::vector<std::uint8_t>& data, std::wstring_view separator) {
    std::wstring digits;
    for (const std::uint8_t byte : data) {
        digits += digits.empty() ? L"" : separator;
        AppendHexByte(digits, byte);
    }
    return digits;
}

} // namespace keyreap
