#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

namespace keyreap {

// The bytes of an image file, none of which can be trusted. Says what is inside the file before anybody,
// including the system's image helpers, follows a pointer there. It judges nothing else: whatever is inside
// may be read, right or wrong. Layouts and magic numbers are those of the published PE format (winnt.h).
class CheckedView {
public:
    CheckedView() = default;
    explicit CheckedView(std::span<const std::byte> bytes) : bytes(bytes) {}

    // The start of the file, or null.
    const std::byte* Start() const { return bytes.data(); }

    // True if `size` bytes from a place are inside the file; the place may be anywhere.
    bool Holds(const std::byte* place, std::uint64_t size) const;

    // A little-endian integer at a place, at any alignment; no result if it isn't inside the file.
    template <typename Integer>
    std::optional<Integer> Read(const std::byte* place) const;

    // The zero-terminated text at a place; no result if its end isn't inside the file.
    std::optional<std::string_view> TextAt(const std::byte* place) const;

    // True if the zero-terminated text at a place is the given one. Reads no further than both agree.
    bool HoldsText(const std::byte* place, std::string_view text) const;

    // True if the file begins with the letters MZ.
    bool HasDosMagic() const;

    // True if the signature and the file header are where the DOS header says, inside the file.
    bool HasNtHeaders() const;

    // True if that signature is PE and two zeros.
    bool HasSignature() const;

    // Fields of the file header and of the optional header; 0 if they aren't inside the file.
    std::uint16_t Machine() const;
    std::uint16_t Characteristics() const;
    std::uint16_t Subsystem() const;

    // True if the section table is inside the file too.
    bool HasSectionTable() const;

    // True if a loader can also lay out the image in memory. The base is a multiple of 64 KiB. An image whose
    // sections are aligned to less than a page is in memory as it is in the file. In any other image the
    // headers come first and the sections follow in order, each with as much room as the image's own
    // alignment gives it, and each from a whole sector of the file.
    bool HasLayout() const;

    // The bytes that a loader takes from the file to the address `rva` of an image with a layout, up to the
    // end of the part that contains the address: the headers, or a section without bytes beyond its whole
    // pages in memory. Empty if there are none.
    std::span<const std::byte> LoadedBytes(std::uint32_t rva) const;

    // The place of the address `rva` by the sections' bytes in the file alone, as the image helpers look it
    // up; null if no section has bytes there.
    const std::byte* PlaceInSections(std::uint32_t rva) const;

    // The address in an entry of the data directories; 0 if there is none.
    std::uint32_t DirectoryAddress(std::uint32_t index) const;

    // True if the section table is inside the file, and the optional header up to the entry `index` of its
    // data directories.
    bool HasDirectoryEntry(std::uint32_t index) const;

private:
    // The fields of a section header.
    struct Section {
        std::uint64_t address;
        std::uint64_t memorySize;
        std::uint64_t fileOffset;
        std::uint64_t fileSize;
    };

    bool HoldsOffset(std::uint64_t offset, std::uint64_t size) const;
    std::uint16_t HeaderField(std::uint64_t offset) const;
    std::uint64_t NtHeadersOffset() const;
    std::uint64_t OptionalHeaderOffset() const;
    std::uint64_t SectionTableOffset() const;
    std::uint64_t DirectoriesOffset() const;
    std::uint64_t ImageSize() const;
    std::uint64_t HeadersSize() const;
    std::uint64_t SectionCount() const;
    Section SectionAt(std::uint64_t index) const;
    std::uint64_t SectionAlignment() const;
    bool IsLaidOutAsTheFile() const;
    std::uint64_t LoadedSize(const Section& section) const;
    std::span<const std::byte> PartOfFile(std::uint64_t start, std::uint64_t size) const;
    bool HasOrderedSections() const;
    bool Is32BitForm() const;
    template <typename Integer>
    Integer At(std::uint64_t offset) const;

    std::span<const std::byte> bytes;
};

template <typename Integer>
std::optional<Integer> CheckedView::Read(const std::byte* place) const {
    if (!Holds(place, sizeof(Integer))) {
        return std::nullopt;
    }
    Integer value;
    std::memcpy(&value, place, sizeof(value));
    return value;
}

} // namespace keyreap
