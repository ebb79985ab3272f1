#pragma once

#include <cstddef>
#include <string_view>

namespace keyreap::samples::box {

// A short text. It never allocates: in a copy of the process the heap's lock may be held for ever.
class Text {
public:
    // Appends what is printable, as long as there is room.
    void Append(std::string_view added);
    void Append(unsigned long long number);

    std::string_view View() const { return {units, size}; }

private:
    static constexpr std::size_t room = 120;

    char units[room] = {};
    std::size_t size = 0;
};

// A number in decimal, or in hexadecimal after 0x.
unsigned long long NumberOf(std::string_view text);

} // namespace keyreap::samples::box
