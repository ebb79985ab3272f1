#pragma once

#include "tests/samples/box/linuxcall.h"
#include "tests/samples/box/text.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap::samples::box {

// The words of one line of the list, after the name.
class Arguments {
public:
    explicit Arguments(std::vector<std::string> words) : words(std::move(words)) {}

    // A missing word is empty.
    const char* operator[](std::size_t index) const {
        return index < words.size() ? words[index].c_str() : "";
    }
    unsigned long long NumberAt(std::size_t index) const { return NumberOf((*this)[index]); }
    std::size_t Count() const { return words.size(); }

private:
    std::vector<std::string> words;
};

// A way to do what a server must not. Appends to `got` what it got or how far it came. Gives an error's
// number below zero if it was refused.
using Function = Word (*)(const Arguments& arguments, Text& got);

struct Way {
    std::string_view name;
    Function function;
};

// By system calls. They run in a copy of the process, and use no function of Windows and no heap.
std::span<const Way> FileWays();
std::span<const Way> ProcessWays();
std::span<const Way> PrivilegeWays();
std::span<const Way> NetworkWays();
std::span<const Way> ResourceWays();
std::span<const Way> LastingWays();

// By functions of Windows, in the process itself.
std::span<const Way> WindowsWays();

} // namespace keyreap::samples::box
