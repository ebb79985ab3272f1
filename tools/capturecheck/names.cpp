#include "tools/capturecheck/names.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <vector>

namespace keyreap {
namespace {

constexpr char32_t firstOfTwoBytes = 0x80;
constexpr char32_t firstOfThreeBytes = 0x800;
constexpr char32_t firstOfFourBytes = 0x10000;
constexpr char32_t lastCodePoint = 0x10FFFF;

struct Sequence {
    std::size_t length;
    char32_t firstBits;
    char32_t smallest;
};

// The length and the first bits of a code point, by its first byte; length 0 if no code point begins so.
Sequence SequenceOf(unsigned char first) {
    if (first < 0x80) {
        return {1, first, 0};
    }
    if ((first & 0xE0) == 0xC0) {
        return {2, first & 0x1FU, firstOfTwoBytes};
    }
    if ((first & 0xF0) == 0xE0) {
        return {3, first & 0x0FU, firstOfThreeBytes};
    }
    if ((first & 0xF8) == 0xF0) {
        return {4, first & 0x07U, firstOfFourBytes};
    }
    return {0, 0, 0};
}

bool IsSurrogate(char32_t point) {
    return point >= 0xD800 && point <= 0xDFFF;
}

// Takes one code point from the front. If the text doesn't begin with one, takes one byte and returns
// nothing.
std::optional<char32_t> TakeCodePoint(std::string_view& bytes) {
    const auto byteAt = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
    const Sequence sequence = SequenceOf(byteAt(0));
    char32_t point = sequence.firstBits;
    bool isSound = sequence.length != 0 && sequence.length <= bytes.size();
    for (std::size_t at = 1; isSound && at < sequence.length; ++at) {
        isSound = (byteAt(at) & 0xC0) == 0x80;
        point = point << 6 | (byteAt(at) & 0x3FU);
    }
    isSound = isSound && point >= sequence.smallest && point <= lastCodePoint && !IsSurrogate(point);
    bytes.remove_prefix(isSound ? sequence.length : 1);
    return isSound ? std::optional(point) : std::nullopt;
}

std::u32string Folded(std::u32string points) {
    std::ranges::transform(points, points.begin(), [](char32_t point) {
        return static_cast<char32_t>(std::towupper(static_cast<std::wint_t>(point)));
    });
    return points;
}

// Each byte as a code point, for text that isn't UTF-8.
std::u32string BytesAsPoints(std::string_view bytes) {
    std::u32string points;
    for (const char byte : bytes) {
        points += static_cast<unsigned char>(byte);
    }
    return points;
}

// Terminals act on these, or begin a new line.
bool IsControl(char32_t point) {
    constexpr char32_t lineSeparator = 0x2028;
    constexpr char32_t paragraphSeparator = 0x2029;
    return point < ' ' || (point >= 0x7F && point < 0xA0) || point == lineSeparator ||
           point == paragraphSeparator;
}

} // namespace

std::optional<std::u32string> CodePoints(std::string_view bytes) {
    std::u32string points;
    while (!bytes.empty()) {
        const std::optional<char32_t> point = TakeCodePoint(bytes);
        if (!point) {
            return std::nullopt;
        }
        points += *point;
    }
    return points;
}

std::string FoldedName(std::string_view name) {
    const std::optional<std::u32string> points = CodePoints(name);
    if (!points) {
        return std::string(name);
    }
    // Four bytes for each letter: nobody reads the result, and equal names give equal results.
    std::string folded;
    for (const char32_t point : Folded(*points)) {
        for (unsigned shift = 0; shift < 32; shift += 8) {
            folded += static_cast<char>(point >> shift & 0xFF);
        }
    }
    return folded;
}

std::string PrintableName(std::string_view name) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    while (!name.empty()) {
        const std::string_view before = name;
        const std::optional<char32_t> point = TakeCodePoint(name);
        const std::string_view taken = before.substr(0, before.size() - name.size());
        if (point && !IsControl(*point)) {
            text += taken;
            continue;
        }
        for (const char byte : taken) {
            const auto value = static_cast<unsigned char>(byte);
            text.append("\\x").append({digits[value >> 4], digits[value & 15]});
        }
    }
    return text;
}

std::size_t NameDistance(std::string_view left, std::string_view right) {
    const std::u32string a = Folded(CodePoints(left).value_or(BytesAsPoints(left)));
    const std::u32string b = Folded(CodePoints(right).value_or(BytesAsPoints(right)));
    // Row i + 1 contains the distances of the first i letters of the left name; only the last three rows are
    // needed.
    std::array<std::vector<std::size_t>, 3> rows;
    rows.fill(std::vector<std::size_t>(b.size() + 1));
    for (std::size_t j = 0; j <= b.size(); ++j) {
        rows[0][j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        const auto& above = rows[(i - 1) % 3];
        const auto& twoAbove = rows[(i + 1) % 3];
        auto& row = rows[i % 3];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({changed, above[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], twoAbove[j - 2] + 1);
            }
        }
    }
    return rows[a.size() % 3][b.size()];
}

} // namespace keyreap
