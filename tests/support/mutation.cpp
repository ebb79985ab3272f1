#include "tests/support/mutation.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace keyreap::testsupport {

namespace {

// The standard's generator gives the same numbers everywhere; its distributions don't.
class Dice {
public:
    explicit Dice(std::uint32_t seed) : numbers(seed) {}
    std::size_t Below(std::size_t bound) { return numbers() % bound; }

private:
    std::mt19937 numbers;
};

std::size_t AnyEdge(const BuiltImage& image, Dice& dice) {
    return std::next(image.places.begin(), static_cast<std::ptrdiff_t>(dice.Below(image.places.size())))
        ->second;
}

void Cut(std::string& bytes, std::size_t edge, Dice& dice) {
    constexpr std::size_t around = 4;
    const std::size_t size = edge + dice.Below(2 * around + 1);
    bytes.resize(std::min(bytes.size(), size < around ? 0 : size - around));
}

void FlipBits(std::string& bytes, std::size_t place, Dice& dice) {
    bytes[place] = static_cast<char>(bytes[place] ^ (1 << dice.Below(8)));
}

void SetExtreme(std::string& bytes, std::size_t place, Dice& dice) {
    constexpr std::array<std::uint32_t, 8> extremes = {0,          1,          0x7FFFFFFF, 0x80000000,
                                                       0xFFFFFFFF, 0xFFFFFFF0, 0x00001000, 0x0000FFFF};
    const std::uint32_t value = extremes[dice.Below(extremes.size())];
    for (std::size_t i = 0; i < sizeof(value) && place + i < bytes.size(); ++i) {
        bytes[place + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
    }
}

} // namespace

std::string Mutated(const BuiltImage& image, std::uint32_t seed) {
    Dice dice(seed);
    std::string bytes = image.bytes;
    constexpr std::size_t reach = 64;
    const std::size_t changes = 1 + dice.Below(4);
    for (std::size_t i = 0; i < changes; ++i) {
        const std::size_t place = std::min(AnyEdge(image, dice) + dice.Below(reach), bytes.size() - 1);
        if (dice.Below(2) == 0) {
            FlipBits(bytes, place, dice);
        } else {
            SetExtreme(bytes, place & ~std::size_t{3}, dice);
        }
    }
    constexpr std::size_t oneInHowMany = 4;
    if (dice.Below(oneInHowMany) == 0) {
        Cut(bytes, AnyEdge(image, dice), dice);
    }
    return bytes;
}

} // namespace keyreap::testsupport
