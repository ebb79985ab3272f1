#pragma once

#include "hostlogger/keylookup.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace keyreap {

struct KeyRequest;

// What Wine itself changes in the registry while it starts a program: the loader and the modules of the
// system, in the program's process and before the program's first instruction. It is recorded when the prefix
// is made (tools/startrecorder), as a text with one line per request:
//
//   8664<TAB>set<TAB>\registry\machine\system\...<TAB>standardname
//   inner<TAB>\registry\machine\software\microsoft\windows nt\currentversion\fonts
//
// A line of the first form has the machine of the process's image, what the request does, the key's real
// path, and the value's name if the request is about a value. It occurs once per request of a start.
//
// A line of the second form is about Wine's inner parts (KeyOrigin). They write names that depend on the
// machine's fonts and on what ran before. So only the key is recorded, for programs of all machines, and a
// start may change it any number of times.
//
// Letters are in lower case, and units outside of ASCII are escaped, so that equal requests have equal lines.
class SystemStart {
public:
    static constexpr unsigned anyCount = std::numeric_limits<unsigned>::max();

    // Reads such a text. Lines of any other form have no effect. Without a line of the first form no machine
    // is known.
    static SystemStart Parse(std::string_view text);

    // A start in which the system changes nothing, on either machine.
    static SystemStart OfNoChanges();

    // Whether starts of programs of this machine were recorded.
    bool Knows(std::uint16_t machine) const { return machines.contains(machine); }

    // How often a start makes the request of this line.
    unsigned CountOf(const std::string& line) const;

    // Whether the request changes the registry. Other requests are in no recording.
    static bool IsChange(const KeyRequest& request);

    // The line of such a request, without its line break.
    static std::string LineOf(const KeyRequest& request, KeyFacts& facts);

private:
    std::unordered_map<std::string, unsigned> counts;
    std::unordered_set<std::uint16_t> machines;
};

} // namespace keyreap
