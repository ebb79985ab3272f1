#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace keyreap {

// How strictly the kernel logger of a Wine prefix follows the one of Windows. By itself the logger is more
// lenient: it leaves out what Wine does and Windows wouldn't, and gives up a session with its process. A
// session of the tests can describe a stricter host in a text with one switch per line, each of which has an
// effect on its own:
//
//   creations    the creation of a key that exists is a creation, whoever asks for it; Wine's ways to the
//                registry's roots and its inner parts create such keys
//   system       what the system does in a process is logged like anything else, also before the entry point
//   outlives     a session runs until it is stopped by its name; the end of its process doesn't stop it
//   capitals     the kernel spells the nodes of the 32-bit view WOW6432Node, not Wow6432Node
//   user SID     the current user is the account of this SID
//   status N     a session can't be started, and the start gives this status of winerror.h
//   lost N       every log has lost N events, as its header says
struct Strictness {
    bool creations = false;
    bool system = false;
    bool outlives = false;
    bool capitals = false;
    std::wstring user; // empty for the account as it is
    std::uint32_t startStatus = 0;
    std::uint32_t lostEvents = 0;

    // Reads such a text. Lines of any other form have no effect.
    static Strictness Parse(std::string_view text);

    bool operator==(const Strictness&) const = default;
};

} // namespace keyreap
