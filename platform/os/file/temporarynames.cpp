#include "platform/os/file/temporarynames.h"

#include "platform/core/text/text.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::size_t shortPrefixLength = 3;
constexpr std::size_t numberDigits = 8;

std::wstring WithExtension(std::wstring name, std::wstring_view extension) {
    name += L'.';
    name += extension;
    return name;
}

} // namespace

std::wstring ReplaceExtension(std::wstring_view name, std::wstring_view extension) {
    const std::size_t mark = name.find_last_of(L".\\");
    const bool hasExtension = mark != std::wstring_view::npos && name[mark] == L'.';
    return WithExtension(std::wstring(hasExtension ? name.substr(0, mark) : name), extension);
}

std::wstring ShortPrefix(std::wstring_view prefix) {
    return std::wstring(prefix.substr(0, shortPrefixLength));
}

std::uint32_t TemporaryNumber(const WidePath& name, std::wstring_view prefix) {
    const std::wstring stem = name.FileStem();
    const std::size_t start = std::min(ShortPrefix(prefix).size(), stem.size());
    return HexTextToInteger(std::wstring_view(stem).substr(start), numberDigits);
}

WidePath NextFreeName(const WidePath& taken, WidePath directory, std::wstring_view prefix,
                      std::wstring_view extension, const std::function<bool(const WidePath&)>& exists) {
    std::uint32_t number = TemporaryNumber(taken, prefix);
    WidePath candidate;
    do {
        // Deliberate: Combine lengthens the directory too, so that the second try is below the first.
        candidate = directory.Combine(ShortPrefix(prefix) + HexToText(++number));
        if (!extension.empty()) {
            candidate = WidePath(WithExtension(candidate.Text(), extension));
        }
    } while (exists(candidate));
    return candidate;
}

} // namespace keyreap
