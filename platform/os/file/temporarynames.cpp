#include "platform/os/file/temporarynames.h"

#include <optional>

namespace keyreap {

namespace {

constexpr std::size_t shortPrefixLength = 3;

std::optional<std::uint32_t> HexadecimalDigit(wchar_t unit) {
    if (unit >= L'0' && unit <= L'9') {
        return static_cast<std::uint32_t>(unit - L'0');
    }
    if (unit >= L'a' && unit <= L'f') {
        return static_cast<std::uint32_t>(unit - L'a' + 10);
    }
    if (unit >= L'A' && unit <= L'F') {
        return static_cast<std::uint32_t>(unit - L'A' + 10);
    }
    return std::nullopt;
}

std::wstring LowerHexadecimal(std::uint32_t number) {
    std::wstring digits;
    do {
        digits.insert(digits.begin(), L"0123456789abcdef"[number & 0xF]);
        number >>= 4;
    } while (number != 0);
    return digits;
}

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
    std::uint32_t number = 0;
    for (std::size_t i = ShortPrefix(prefix).size(); i < stem.size(); ++i) {
        const std::optional<std::uint32_t> digit = HexadecimalDigit(stem[i]);
        if (!digit) {
            break;
        }
        number = number << 4 | *digit;
    }
    return number;
}

WidePath NextFreeName(const WidePath& taken, WidePath directory, std::wstring_view prefix,
                      std::wstring_view extension, const std::function<bool(const WidePath&)>& exists) {
    std::uint32_t number = TemporaryNumber(taken, prefix);
    WidePath candidate;
    do {
        ++number;
        // Combine lengthens the directory too. That the second try thus lands beneath the first is kept.
        candidate = directory.Combine(ShortPrefix(prefix) + LowerHexadecimal(number));
        if (!extension.empty()) {
            candidate = WidePath(WithExtension(candidate.Text(), extension));
        }
    } while (exists(candidate));
    return candidate;
}

} // namespace keyreap
