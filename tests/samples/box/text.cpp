#include "tests/samples/box/text.h"

namespace keyreap::samples::box {

namespace {

unsigned DigitOf(char digit) {
    const char lower = static_cast<char>(digit | 0x20);
    return static_cast<unsigned>(lower >= 'a' ? lower - 'a' + 10 : digit - '0');
}

} // namespace

void Text::Append(std::string_view added) {
    for (const char unit : added) {
        const bool isPrintable = unit >= ' ' && unit <= '~';
        if (isPrintable && size < room) {
            units[size++] = unit;
        }
    }
}

void Text::Append(unsigned long long number) {
    if (number >= 10) {
        Append(number / 10);
    }
    const char digit = static_cast<char>('0' + number % 10);
    Append(std::string_view(&digit, 1));
}

unsigned long long NumberOf(std::string_view text) {
    const bool isHexadecimal = text.starts_with("0x");
    unsigned long long number = 0;
    for (const char digit : text.substr(isHexadecimal ? 2 : 0)) {
        number = number * (isHexadecimal ? 16 : 10) + DigitOf(digit);
    }
    return number;
}

} // namespace keyreap::samples::box
