#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace keyreap {

class HostFile;

enum class InputKind { missing, folder, special, unreadable, image, typeLibrary, unixProgram, other };

// What an input's own bytes say, as far as it decides what a capture does with it. No code of it runs.
struct InputFacts {
    InputKind kind = InputKind::missing;
    // Of images only:
    std::uint16_t machine = 0;
    bool isDll = false;
    bool exportsRegistration = false; // DllRegisterServer, by name

    // The program captures it itself, ahead of all that its companion gets.
    bool Is64Bit() const;
    // This host runs code of its machine type.
    bool IsForThisHost() const;
};

// With the kinds that only the file itself shows.
InputFacts FactsOf(const HostFile& file);

// What the bytes alone say; `other` if they are neither an image nor a type library.
InputFacts FactsOfBytes(std::span<const std::byte> bytes);

// The file begins as an image or a type library does: no .reg file of an earlier run.
bool BeginsAsInput(const HostFile& file);

// True if a name ends so, in letters of either case; `ending` has small ones.
bool NameEndsWith(std::string_view name, std::string_view ending);

// The name of a machine type, such as ARM64.
std::string MachineName(std::uint16_t machine);

} // namespace keyreap
