#pragma once

#include "trace/arena.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace keyreap {

// Keeps texts in an arena, one that came a short time ago only once: operations follow each other on a few
// keys, and the values of most keys have the same few names. A path below the one that was copied last
// begins with it in memory, too.
class RecentTexts {
public:
    // `arena` outlives this.
    explicit RecentTexts(Arena& arena) : arena(arena) {}

    // A copy of the text. One that differs by a backslash at its end shares it: a handle's path has one.
    std::wstring_view Keep(std::wstring_view text) {
        const std::wstring_view key = text.substr(0, text.size() - (text.ends_with(L'\\') ? 1 : 0));
        std::wstring_view& recent = texts[PlaceOf(key)];
        if (recent != key || recent.data() == nullptr) {
            recent = ExtendLast(key) ? std::wstring_view(last.data(), key.size())
                                     : arena.KeepWith(key, L'\\').substr(0, key.size());
            last = recent;
        }
        return {recent.data(), text.size()};
    }

    // Forgets all texts: the arena's memory is no longer theirs.
    void Forget() {
        texts.fill({});
        last = {};
    }

private:
    static constexpr std::size_t count = 64;

    static std::size_t PlaceOf(std::wstring_view text) {
        std::size_t place = text.size();
        for (const wchar_t unit : text.substr(text.size() - std::min<std::size_t>(text.size(), 4))) {
            place = 31 * place + static_cast<std::size_t>(unit);
        }
        return place % count;
    }

    // The last text has a backslash after it.
    bool ExtendLast(std::wstring_view key) {
        if (last.data() == nullptr || key.size() <= last.size() || key[last.size()] != L'\\' ||
            !key.starts_with(last)) {
            return false;
        }
        const std::size_t kept = last.size() + 1;
        more.assign(key.substr(kept)).append(1, L'\\');
        return arena.Extend({last.data(), kept}, more);
    }

    Arena& arena;
    std::wstring_view last; // that was copied
    std::wstring more;
    std::array<std::wstring_view, count> texts;
};

} // namespace keyreap
