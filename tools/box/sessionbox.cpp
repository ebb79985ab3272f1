// sessionbox OPTION... -- COMMAND...: runs a command and the session's server in a box that bwrap makes, and
// ends with the command's status. Everything in the box ends with it. The options are those of boxwords.h;
// the caller's standard streams are the command's.
#include "tools/box/boxwords.h"
#include "tools/box/inside.h"
#include "tools/box/outside.h"

#include <cstdio>
#include <exception>
#include <span>
#include <string_view>

int main(int count, char** words) {
    constexpr int failed = 125;
    const auto given = std::span<char* const>(words, static_cast<std::size_t>(count)).subspan(1);
    try {
        if (!given.empty() && std::string_view(given.front()) == "inside") {
            return keyreap::RunInside(given.subspan(1));
        }
        // In a box that is only tried.
        if (!given.empty() && std::string_view(given.front()) == "nothing") {
            return 0;
        }
        return keyreap::RunOutside(keyreap::ParsedBoxWords(given));
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "sessionbox: %s\n", error.what()));
        return failed;
    }
}
