#include "pe/checkedview.h"

#include <algorithm>
#include <limits>

namespace keyreap {

namespace {

constexpr std::uint64_t dosHeaderSize = 64;
constexpr std::uint64_t newHeaderField = 60; // e_lfanew of the DOS header
constexpr std::uint16_t dosMagic = 0x5A4D;

// Signature and file header, counted from the signature.
constexpr std::uint64_t fixedNtHeadersSize = 24;
constexpr std::uint32_t ntSignature = 0x00004550;
constexpr std::uint64_t machineField = 4;
constexpr std::uint64_t sectionCountField = 6;
constexpr std::uint64_t optionalHeaderSizeField = 20;
constexpr std::uint64_t characteristicsField = 22;

constexpr std::uint64_t sectionHeaderSize = 40;
constexpr std::uint64_t virtualSizeField = 8;
constexpr std::uint64_t virtualAddressField = 12;
constexpr std::uint64_t rawSizeField = 16;
constexpr std::uint64_t rawPointerField = 20;
constexpr std::uint64_t pageSize = 0x1000;
constexpr std::uint64_t sectorSize = 0x200;
constexpr std::uint64_t directoryEntrySize = 8;
constexpr std::uint64_t directoryCountSize = 4; // number of directories, just before the first

// The optional header and its two forms.
constexpr std::uint64_t sectionAlignmentField = 32;
constexpr std::uint64_t imageSizeField = 56;
constexpr std::uint64_t headersSizeField = 60;
constexpr std::uint64_t subsystemField = 68;
constexpr std::uint64_t imageBaseField32 = 28;
constexpr std::uint64_t imageBaseField64 = 24;
constexpr std::uint16_t optionalMagic32 = 0x10B;
constexpr std::uint64_t directoriesOffset32 = 96;
constexpr std::uint64_t directoriesOffset64 = 112;

std::uint64_t RoundedUp(std::uint64_t size, std::uint64_t unit) {
    return (size + unit - 1) / unit * unit;
}

} // namespace

template <typename Integer>
Integer CheckedView::At(std::uint64_t offset) const {
    return Read<Integer>(bytes.data() + offset).value_or(0);
}

bool CheckedView::HoldsOffset(std::uint64_t offset, std::uint64_t size) const {
    return offset <= bytes.size() && size <= bytes.size() - offset;
}

bool CheckedView::Holds(const std::byte* place, std::uint64_t size) const {
    // Compared as numbers, because a pointer that a helper made from a false header may point anywhere.
    const auto start = reinterpret_cast<std::uintptr_t>(bytes.data());
    const auto address = reinterpret_cast<std::uintptr_t>(place);
    return address >= start && HoldsOffset(address - start, size);
}

std::optional<std::string_view> CheckedView::TextAt(const std::byte* place) const {
    if (!Holds(place, 1)) {
        return std::nullopt;
    }
    const char* text = reinterpret_cast<const char*>(place);
    const auto room = static_cast<std::size_t>(bytes.data() + bytes.size() - place);
    const void* end = std::memchr(text, 0, room);
    if (end == nullptr) {
        return std::nullopt;
    }
    return std::string_view(text, static_cast<std::size_t>(static_cast<const char*>(end) - text));
}

bool CheckedView::HoldsText(const std::byte* place, std::string_view text) const {
    return Holds(place, text.size() + 1) && std::memcmp(place, text.data(), text.size()) == 0 &&
           place[text.size()] == std::byte{0};
}

bool CheckedView::HasDosMagic() const {
    return HoldsOffset(0, sizeof(dosMagic)) && At<std::uint16_t>(0) == dosMagic;
}

std::uint64_t CheckedView::NtHeadersOffset() const {
    return At<std::uint32_t>(newHeaderField);
}

bool CheckedView::HasNtHeaders() const {
    // The helpers read the field as a signed number: a negative one would lead them before the file.
    return HoldsOffset(0, dosHeaderSize) && NtHeadersOffset() <= std::numeric_limits<std::int32_t>::max() &&
           HoldsOffset(NtHeadersOffset(), fixedNtHeadersSize);
}

bool CheckedView::HasSignature() const {
    return HasNtHeaders() && At<std::uint32_t>(NtHeadersOffset()) == ntSignature;
}

// Counted from the signature.
std::uint16_t CheckedView::HeaderField(std::uint64_t offset) const {
    return HasNtHeaders() ? At<std::uint16_t>(NtHeadersOffset() + offset) : std::uint16_t{0};
}

std::uint16_t CheckedView::Machine() const {
    return HeaderField(machineField);
}

std::uint16_t CheckedView::Characteristics() const {
    return HeaderField(characteristicsField);
}

std::uint16_t CheckedView::Subsystem() const {
    return HeaderField(fixedNtHeadersSize + subsystemField);
}

std::uint64_t CheckedView::OptionalHeaderOffset() const {
    return NtHeadersOffset() + fixedNtHeadersSize;
}

std::uint64_t CheckedView::SectionTableOffset() const {
    return OptionalHeaderOffset() + At<std::uint16_t>(NtHeadersOffset() + optionalHeaderSizeField);
}

std::uint64_t CheckedView::SectionCount() const {
    return At<std::uint16_t>(NtHeadersOffset() + sectionCountField);
}

bool CheckedView::HasSectionTable() const {
    return HasNtHeaders() && HoldsOffset(SectionTableOffset(), SectionCount() * sectionHeaderSize);
}

bool CheckedView::Is32BitForm() const {
    return At<std::uint16_t>(OptionalHeaderOffset()) == optionalMagic32;
}

bool CheckedView::HasLayout() const {
    if (!HasSectionTable()) {
        return false;
    }
    // In the 32-bit and the 64-bit field alike, the lowest two bytes decide whether the base is a multiple of
    // 64 KiB.
    const std::uint64_t baseField = Is32BitForm() ? imageBaseField32 : imageBaseField64;
    return At<std::uint16_t>(OptionalHeaderOffset() + baseField) == 0 &&
           (IsLaidOutAsTheFile() || HasOrderedSections());
}

std::uint64_t CheckedView::SectionAlignment() const {
    return At<std::uint32_t>(OptionalHeaderOffset() + sectionAlignmentField);
}

bool CheckedView::IsLaidOutAsTheFile() const {
    return SectionAlignment() % pageSize != 0;
}

std::uint64_t CheckedView::ImageSize() const {
    return RoundedUp(At<std::uint32_t>(OptionalHeaderOffset() + imageSizeField), pageSize);
}

std::uint64_t CheckedView::HeadersSize() const {
    return At<std::uint32_t>(OptionalHeaderOffset() + headersSizeField);
}

CheckedView::Section CheckedView::SectionAt(std::uint64_t index) const {
    const std::uint64_t header = SectionTableOffset() + index * sectionHeaderSize;
    const std::uint32_t fileSize = At<std::uint32_t>(header + rawSizeField);
    const std::uint32_t memorySize = At<std::uint32_t>(header + virtualSizeField);
    return {At<std::uint32_t>(header + virtualAddressField), memorySize != 0 ? memorySize : fileSize,
            At<std::uint32_t>(header + rawPointerField), fileSize};
}

bool CheckedView::HasOrderedSections() const {
    // The loader takes a missing alignment for a page.
    const std::uint64_t alignment = std::max(SectionAlignment(), pageSize);
    std::uint64_t end = HeadersSize();
    for (std::uint64_t index = 0; index < SectionCount(); ++index) {
        const Section section = SectionAt(index);
        // The loader begins with the sector that contains the section's place in the file, the image helpers
        // begin with the place itself.
        const bool startsInASector = section.fileSize != 0 && section.fileOffset % sectorSize != 0;
        if (section.address < end || startsInASector) {
            return false;
        }
        // The loader cuts off bytes that have no room. The image helpers don't, so these bytes must not reach
        // into the next section.
        end = section.address + std::max(RoundedUp(section.memorySize, alignment), section.fileSize);
    }
    return true;
}

std::uint64_t CheckedView::LoadedSize(const Section& section) const {
    if (IsLaidOutAsTheFile()) {
        return section.address == section.fileOffset ? section.fileSize : 0;
    }
    return std::min(section.fileSize, RoundedUp(section.memorySize, pageSize));
}

std::span<const std::byte> CheckedView::PartOfFile(std::uint64_t start, std::uint64_t size) const {
    if (start >= bytes.size()) {
        return {};
    }
    const auto room = bytes.subspan(static_cast<std::size_t>(start));
    return room.first(static_cast<std::size_t>(std::min<std::uint64_t>(size, room.size())));
}

std::span<const std::byte> CheckedView::LoadedBytes(std::uint32_t rva) const {
    if (!HasSectionTable()) {
        return {};
    }
    const std::uint64_t imageEnd = ImageSize();
    if (rva < std::min(HeadersSize(), imageEnd)) {
        return PartOfFile(rva, std::min(HeadersSize(), imageEnd) - rva);
    }
    for (std::uint64_t index = 0; index < SectionCount(); ++index) {
        const Section section = SectionAt(index);
        if (rva < section.address || rva - section.address >= section.fileSize) {
            continue;
        }
        const std::uint64_t end = std::min(section.address + LoadedSize(section), imageEnd);
        return rva < end ? PartOfFile(section.fileOffset + (rva - section.address), end - rva)
                         : std::span<const std::byte>();
    }
    return {};
}

const std::byte* CheckedView::PlaceInSections(std::uint32_t rva) const {
    for (std::uint64_t index = 0; HasSectionTable() && index < SectionCount(); ++index) {
        const Section section = SectionAt(index);
        if (rva >= section.address && rva - section.address < section.fileSize) {
            const std::span<const std::byte> rest =
                PartOfFile(section.fileOffset + (rva - section.address), 1);
            return rest.empty() ? nullptr : rest.data();
        }
    }
    return nullptr;
}

std::uint64_t CheckedView::DirectoriesOffset() const {
    return OptionalHeaderOffset() + (Is32BitForm() ? directoriesOffset32 : directoriesOffset64);
}

bool CheckedView::HasDirectoryEntry(std::uint32_t index) const {
    return HasSectionTable() &&
           HoldsOffset(DirectoriesOffset(), (index + std::uint64_t{1}) * directoryEntrySize);
}

std::uint32_t CheckedView::DirectoryAddress(std::uint32_t index) const {
    if (!HasDirectoryEntry(index) || index >= At<std::uint32_t>(DirectoriesOffset() - directoryCountSize)) {
        return 0;
    }
    return At<std::uint32_t>(DirectoriesOffset() + index * directoryEntrySize);
}

} // namespace keyreap
