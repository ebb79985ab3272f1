#pragma once

#include <cstddef>
#include <span>

namespace keyreap {

// What a file of a folder is to a run of captures.
enum class FoundServer {
    No,      // nothing that registers, as far as its bytes say
    Program, // it registers only if it knows the switch; starting it may do anything else
    Yes,     // it has DllRegisterServer, is a type library, or is a program with one
};

// Judges a file's bytes. An image for another machine than x86 and x64 is no server.
FoundServer FoundServerIn(std::span<const std::byte> bytes);

} // namespace keyreap
