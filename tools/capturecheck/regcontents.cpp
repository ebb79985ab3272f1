#include "tools/capturecheck/regcontents.h"

#include "platform/core/text/compare.h"
#include "regmodel/straynames.h"

#include <algorithm>
#include <array>

namespace keyreap {
namespace {

constexpr std::u16string_view fileHeader = u"Windows Registry Editor Version 5.00\r\n";
constexpr std::size_t fillerLength = 10;
constexpr char16_t fillerUnit = 0x5555;
// The path of the tree in a text, where it ends or goes on.
constexpr std::array<std::u16string_view, 2> temporaryTexts = {
    u"software\\\\velmoro\\\\tesselink\\\\temporary\"", u"software\\\\velmoro\\\\tesselink\\\\temporary\\\\"};

// `part` has lower case.
bool HoldsInAnyCase(std::u16string_view text, std::u16string_view part) {
    const auto equal = [](char16_t left, char16_t right) {
        return FoldLetter(static_cast<wchar_t>(left)) == static_cast<wchar_t>(right);
    };
    return std::search(text.begin(), text.end(), part.begin(), part.end(), equal) != text.end();
}

bool IsFiller(std::u16string_view text) {
    return text.size() == fillerLength && text.find_first_not_of(fillerUnit) == std::u16string_view::npos;
}

// The position of the quote that ends a quoted text, from its first character on; npos if the text continues
// in the next line. A text that is a single backslash is not escaped.
std::size_t EndOfQuoted(std::u16string_view text) {
    if (text == u"\\\"") {
        return 1;
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == u'\\') {
            ++at;
        } else if (text[at] == u'"') {
            return at;
        }
    }
    return std::u16string_view::npos;
}

// Where the value's data begins in a line that contains one, after its name and the equals sign; 0 if the
// line contains none. A backslash or quote at the start of a name is not escaped if it is the only one.
std::size_t DataOf(std::u16string_view line) {
    if (line.starts_with(u"@=")) {
        return 2;
    }
    constexpr std::u16string_view backslashName = u"\"\\\"=";
    if (line.starts_with(backslashName)) {
        return backslashName.size();
    }
    if (line.starts_with(u"\"\"")) {
        const std::size_t end = line.find_first_of(u"\"\\", 2);
        return line.substr(std::min(end, line.size())).starts_with(u"\"=") ? end + 2 : 0;
    }
    if (!line.starts_with(u'"')) {
        return 0;
    }
    for (std::size_t at = 1; at < line.size(); ++at) {
        if (line[at] == u'\\') {
            ++at;
        } else if (line[at] == u'"') {
            return line.substr(at + 1).starts_with(u'=') ? at + 2 : 0;
        }
    }
    return 0;
}

class Reader {
public:
    void Take(std::u16string_view line) {
        if (isInText) {
            isInText = EndOfQuoted(line) == std::u16string_view::npos;
        } else if (isInBytes) {
            isInBytes = line.ends_with(u'\\');
        } else {
            TakeEntry(line);
        }
    }

    const RegContents& Contents() const { return contents; }

private:
    void TakeEntry(std::u16string_view line) {
        begun += line;
        if (begun.starts_with(u'[')) {
            TakeKey(std::u16string_view(begun).substr(1, begun.find_last_of(u']') - 1));
        } else if (const std::size_t data = DataOf(begun); data != 0) {
            ++contents.values;
            TakeData(std::u16string_view(begun).substr(data));
        } else if (begun.starts_with(u'"')) {
            // A name with a line break.
            begun += u'\n';
            return;
        }
        begun.clear();
    }

    void TakeKey(std::u16string_view path) {
        ++contents.keys;
        const StrayName stray = StrayNameOf(std::wstring(path.begin(), path.end()));
        contents.namesTemporaryTree |= stray == StrayName::TemporaryTree;
        contents.hasKeyWithoutRoot |= stray == StrayName::NoRoot;
    }

    void TakeData(std::u16string_view data) {
        if (!data.starts_with(u'"')) {
            isInBytes = data.ends_with(u'\\');
            return;
        }
        const std::u16string_view text = data.substr(1);
        const std::size_t end = EndOfQuoted(text);
        isInText = end == std::u16string_view::npos;
        contents.fillers += !isInText && IsFiller(text.substr(0, end)) ? 1 : 0;
    }

    RegContents contents;
    std::u16string begun;
    bool isInText = false;
    bool isInBytes = false;
};

} // namespace

RegContents ContentsOfText(std::u16string_view text) {
    Reader reader;
    for (std::u16string_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find(u'\n'), rest.size());
        std::u16string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        line.remove_suffix(line.ends_with(u'\r') ? 1 : 0);
        reader.Take(line);
    }
    RegContents contents = reader.Contents();
    contents.namesTemporaryTree |= std::ranges::any_of(
        temporaryTexts, [text](std::u16string_view part) { return HoldsInAnyCase(text, part); });
    contents.isWhole = text.starts_with(fileHeader) && text.ends_with(u"\r\n");
    return contents;
}

RegContents ContentsOfBytes(std::span<const std::byte> bytes) {
    constexpr std::size_t largest = std::size_t{1} << 30;
    if (bytes.size() < 2 || bytes.size() > largest || bytes.size() % 2 != 0 || bytes[0] != std::byte{0xFF} ||
        bytes[1] != std::byte{0xFE}) {
        return {};
    }
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t at = 2; at < bytes.size(); at += 2) {
        text += static_cast<char16_t>(std::to_integer<unsigned>(bytes[at]) |
                                      std::to_integer<unsigned>(bytes[at + 1]) << 8);
    }
    return ContentsOfText(text);
}

} // namespace keyreap
