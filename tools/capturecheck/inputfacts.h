#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace keyreap {

class HostFile;

enum class InputKind { missing, folder, special, unreadable, image, typeLibrary, unixProgram, other };

// What an input's own bytes say, as far as a capture depends on it. No code of the input runs.
struct InputFacts {
    InputKind kind = InputKind::missing;
    // Only for images:
    std::uint16_t machine = 0;
    bool is64Bit = false;
    bool isDll = false;
    bool exportsRegistration = false; // DllRegisterServer, by name

    // True if the program captures it itself, before everything that goes to its companion.
    bool Is64Bit() const;
    // True if this host runs code of its machine type.
    bool IsForThisHost() const;
    // True if the program may start it with /REGSERVER, and not load it.
    bool MayBeProgram() const;
};

// Includes the kinds that only the file system shows.
InputFacts FactsOf(const HostFile& file);

// The facts of the bytes alone; `other` if they are neither an image nor a type library.
InputFacts FactsOfBytes(std::span<const std::byte> bytes);

// True if the file begins like an image or a type library, so that it isn't a .reg file of an earlier run.
bool BeginsAsInput(const HostFile& file);

// True if `name` ends with `ending`, in letters of either case; `ending` has lower case.
bool NameEndsWith(std::string_view name, std::string_view ending);

// The name of a machine type, such as ARM64.
std::string MachineName(std::uint16_t machine);

} // namespace keyreap
