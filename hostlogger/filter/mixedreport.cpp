#include "hostlogger/filter/mixedreport.h"

#include "hostlogger/filter/mixedkeys.h"

#include <cstddef>
#include <cstdint>
#include <fstream>

namespace keyreap {
namespace {

bool IsSurrogate(std::uint32_t unit, std::uint32_t first) {
    return unit >= first && unit < first + 0x400;
}

// The character at `at`, which then moves to the next one. A lone surrogate becomes a question mark.
std::uint32_t TakeCharacter(std::wstring_view name, std::size_t& at) {
    constexpr std::uint32_t high = 0xD800;
    constexpr std::uint32_t low = 0xDC00;
    const auto unit = static_cast<std::uint32_t>(name[at++]);
    if (IsSurrogate(unit, high) && at < name.size() &&
        IsSurrogate(static_cast<std::uint32_t>(name[at]), low)) {
        return 0x10000 + ((unit - high) << 10) + (static_cast<std::uint32_t>(name[at++]) - low);
    }
    const bool isControl = unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
    return isControl || IsSurrogate(unit, high) || IsSurrogate(unit, low) ? '?' : unit;
}

void AppendUtf8(std::uint32_t character, std::string& text) {
    if (character < 0x80) {
        text += static_cast<char>(character);
        return;
    }
    const int followers = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr std::uint32_t leads[] = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(leads[followers] | (character >> (6 * followers)));
    for (int left = followers - 1; left >= 0; --left) {
        text += static_cast<char>(0x80 | ((character >> (6 * left)) & 0x3F));
    }
}

} // namespace

std::vector<std::wstring> FindMixedKeys(const KeptFile& log) {
    bool possible = false;
    log.ForEachLine([&](std::string_view line) { possible = possible || MakesMixingNode(line); });
    MixedKeys mixed;
    if (possible) {
        log.ForEachLine([&](std::string_view line) { mixed.Feed(line); });
    }
    return mixed.Names();
}

std::string LineOfName(std::wstring_view name) {
    std::string line;
    for (std::size_t at = 0; at < name.size();) {
        AppendUtf8(TakeCharacter(name, at), line);
    }
    return line;
}

void WriteNames(const std::vector<std::wstring>& names, const std::string& path) {
    if (names.empty()) {
        return;
    }
    std::ofstream file(path, std::ios::binary);
    for (const std::wstring& name : names) {
        file << LineOfName(name) << '\n';
    }
}

} // namespace keyreap
