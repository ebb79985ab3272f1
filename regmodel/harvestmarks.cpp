#include "regmodel/harvestmarks.h"

#include "regmodel/regkeyreader.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace keyreap {

namespace {

constexpr std::array<std::wstring_view, 6> ownKeys = {L"HKEY_CLASSES_ROOT",
                                                      L"HKEY_CURRENT_USER",
                                                      L"HKEY_USERS",
                                                      L"HKEY_LOCAL_MACHINE",
                                                      L"HKEY_LOCAL_MACHINE\\Software",
                                                      L"HKEY_LOCAL_MACHINE\\Software\\Classes"};
constexpr std::size_t rootCount = 4;

bool IsKeyreaps(const RegStyle& style) {
    return style.encoding == RegEncoding::Utf16 && style.version == RegVersion::Five &&
           style.lineEnd == RegLineEnd::CrLf;
}

// The path of the key whose brackets are in this line; empty for any other line.
std::wstring KeyOfLine(const RegSource& source, std::size_t at) {
    const std::size_t start = AfterBlanks(source, at);
    if (!IsAt(source, start, L"[") || IsAt(source, start, L"[-")) {
        return L"";
    }
    const std::size_t end = EndOfLine(source, start);
    RegSource line = source;
    line.text = source.text.substr(0, end);
    const auto key = ReadRegKey(line, start);
    const auto* read = std::get_if<ReadKey>(&key);
    return read == nullptr ? L"" : read->section.path;
}

} // namespace

bool IsHarvest(const RegSource& source, std::size_t at, const RegStyle& style) {
    std::size_t found = 0;
    for (; IsKeyreaps(style) && at < source.text.size() && found < rootCount; at = AfterLineEnd(source, at)) {
        const std::wstring path = KeyOfLine(source, at);
        if (path == ownKeys[found]) {
            ++found;
        } else if (found == 0 && !path.empty()) {
            return false;
        }
    }
    return found == rootCount;
}

void MarkOwnKeys(RegDocument& document) {
    for (RegSection& section : document.sections) {
        section.isCapturesOwn = document.isHarvest && !section.isDeletion && section.entries.empty() &&
                                std::ranges::find(ownKeys, section.path) != ownKeys.end();
    }
}

} // namespace keyreap
