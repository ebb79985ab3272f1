#include "pe/checkedview.h"

#include <limits>

namespace keyreap {

namespace {

constexpr std::uint64_t dosHeaderSize = 64;
constexpr std::uint64_t newHeaderField = 60; // e_lfanew of the DOS header
constexpr std::uint16_t dosMagic = 0x5A4D;

// Signature and file header, counted from the signature.
constexpr std::uint64_t fixedNtHeadersSize = 24;
constexpr std::uint64_t sectionCountField = 6;
constexpr std::uint64_t optionalHeaderSizeField = 20;

constexpr std::uint64_t sectionHeaderSize = 40;
constexpr std::uint64_t virtualSizeField = 8;
constexpr std::uint64_t virtualAddressField = 12;
constexpr std::uint64_t rawSizeField = 16;
constexpr std::uint64_t pageSize = 0x1000;
constexpr std::uint64_t directoryEntrySize = 8;

// The optional header and its two forms.
constexpr std::uint64_t sectionAlignmentField = 32;
constexpr std::uint64_t headersSizeField = 60;
constexpr std::uint64_t imageBaseField32 = 28;
constexpr std::uint64_t imageBaseField64 = 24;
constexpr std::uint16_t optionalMagic32 = 0x10B;
constexpr std::uint64_t directoriesOffset32 = 96;
constexpr std::uint64_t directoriesOffset64 = 112;

std::uint64_t InWholePages(std::uint64_t size) {
    return (size + pageSize - 1) / pageSize * pageSize;
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
    // As numbers: a pointer that a helper made out of a lying header may point anywhere.
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
    // The field is a signed number to the helpers: what is negative would lead them in front of the file.
    return HoldsOffset(0, dosHeaderSize) && NtHeadersOffset() <= std::numeric_limits<std::int32_t>::max() &&
           HoldsOffset(NtHeadersOffset(), fixedNtHeadersSize);
}

std::uint64_t CheckedView::OptionalHeaderOffset() const {
    return NtHeadersOffset() + fixedNtHeadersSize;
}

std::uint64_t CheckedView::SectionTableOffset() const {
    return OptionalHeaderOffset() + At<std::uint16_t>(NtHeadersOffset() + optionalHeaderSizeField);
}

std::uint64_t CheckedView::SectionTableSize() const {
    return At<std::uint16_t>(NtHeadersOffset() + sectionCountField) * sectionHeaderSize;
}

bool CheckedView::HasSectionTable() const {
    return HasNtHeaders() && HoldsOffset(SectionTableOffset(), SectionTableSize());
}

bool CheckedView::Is32BitForm() const {
    return At<std::uint16_t>(OptionalHeaderOffset()) == optionalMagic32;
}

bool CheckedView::HasLayout() const {
    if (!HasSectionTable()) {
        return false;
    }
    // Below 4 GiB and above, what counts lies in the lowest two bytes of the field.
    const std::uint64_t baseField = Is32BitForm() ? imageBaseField32 : imageBaseField64;
    return At<std::uint16_t>(OptionalHeaderOffset() + baseField) == 0 &&
           (IsLaidOutAsTheFile() || HasOrderedSections());
}

bool CheckedView::IsLaidOutAsTheFile() const {
    return At<std::uint32_t>(OptionalHeaderOffset() + sectionAlignmentField) % pageSize != 0;
}

bool CheckedView::HasOrderedSections() const {
    std::uint64_t end = At<std::uint32_t>(OptionalHeaderOffset() + headersSizeField);
    const std::uint64_t table = SectionTableOffset();
    for (std::uint64_t section = table; section < table + SectionTableSize(); section += sectionHeaderSize) {
        const std::uint64_t start = At<std::uint32_t>(section + virtualAddressField);
        const std::uint32_t virtualSize = At<std::uint32_t>(section + virtualSizeField);
        const std::uint32_t fileSize = At<std::uint32_t>(section + rawSizeField);
        const std::uint64_t size = InWholePages(virtualSize != 0 ? virtualSize : fileSize);
        if (start < end || fileSize > size) {
            return false;
        }
        end = start + size;
    }
    return true;
}

bool CheckedView::HasDirectoryEntry(std::uint32_t index) const {
    if (!HasSectionTable()) {
        return false;
    }
    const std::uint64_t directories =
        OptionalHeaderOffset() + (Is32BitForm() ? directoriesOffset32 : directoriesOffset64);
    return HoldsOffset(directories, (index + std::uint64_t{1}) * directoryEntrySize);
}

} // namespace keyreap
