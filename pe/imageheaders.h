#pragma once

#include "pe/checkedview.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace keyreap {

// Machine types of the published PE format.
inline constexpr std::uint16_t machineX86 = 0x014C;
inline constexpr std::uint16_t machineItanium = 0x0200;
inline constexpr std::uint16_t machineX64 = 0x8664;

// What the headers and tables of an image file say, read from its bytes on any system. None of them can be
// trusted: what isn't inside the file counts as missing. Without headers everything is 0, false or empty.
class ImageHeaders {
public:
    explicit ImageHeaders(std::span<const std::byte> bytes);

    // True if there are the letters MZ and the signature PE.
    bool AreThere() const { return areThere; }

    std::uint16_t Machine() const;

    // True only for the machine types AMD64 and Itanium, as in PeImage.
    bool Is64Bit() const;

    bool IsDll() const;

    // As IMAGE_SUBSYSTEM_WINDOWS_GUI (2) and IMAGE_SUBSYSTEM_WINDOWS_CUI (3) of winnt.h.
    std::uint16_t Subsystem() const;

    // True if the image exports the name, case included. An export by ordinal alone has no name.
    bool Exports(std::string_view name) const;

    // The numbers of the resources of the type TYPELIB whose data are loaded with the image, in the order of
    // the directory. The lowest one belongs to the file's name without a number.
    std::vector<std::uint16_t> TypeLibraries() const;

    // The names of the libraries that are loaded with the image, or when one of their functions is first
    // called.
    std::vector<std::string_view> Libraries() const;

    // True if there is a resource of the type RT_MANIFEST (24 in winuser.h).
    bool HasManifest() const;

private:
    CheckedView view;
    bool areThere;
};

} // namespace keyreap
