#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap::testsupport {

// An image made by ImageBuilder, with the file offsets of its parts.
struct BuiltImage {
    std::string bytes;
    std::map<std::string, std::size_t> places;

    std::size_t At(const std::string& place) const { return places.at(place); }

    // Overwrites a little-endian number at an offset from a place.
    template <typename Integer>
    void Set(const std::string& place, std::ptrdiff_t offset, Integer value) {
        const std::size_t start = At(place) + static_cast<std::size_t>(offset);
        for (std::size_t i = 0; i < sizeof(Integer); ++i) {
            bytes[start + i] = static_cast<char>((static_cast<std::uint64_t>(value) >> (8 * i)) & 0xFF);
        }
    }
};

enum class ImageBits { bits32, bits64 };

// Lays out a small PE image, byte by byte, in the published format. Each table has a section of its own, at
// an address that differs from its place in the file. The places: "nt", "optional", "directories",
// "sections", "headersEnd", and, for the tables that exist, "exports", "exportNames", "imports",
// "delayImports", "resources", each with its "...End".
class ImageBuilder {
public:
    explicit ImageBuilder(ImageBits bits = ImageBits::bits64);

    ImageBuilder& Machine(std::uint16_t value);

    // The alignments of the sections in memory and in the file.
    ImageBuilder& Aligned(std::uint32_t inMemory, std::uint32_t inFile);

    // Sections aligned to less than a page, at the same place in memory as in the file, as drivers have them.
    ImageBuilder& Flat();

    // The exported names; the export directory also has `namelessOrdinals` ordinals without a name.
    ImageBuilder& Exports(std::vector<std::string> names, std::uint32_t namelessOrdinals = 0);
    ImageBuilder& Imports(std::vector<std::string> names);
    ImageBuilder& DelayImports(std::vector<std::string> names);

    // The only resource: a version resource in the given language, as the bytes of VersionResource.
    ImageBuilder& Version(std::string resource, std::uint16_t language = 0x0409);

    // The only resources: type libraries of these numbers, each with four bytes of data.
    ImageBuilder& TypeLibraries(std::vector<std::uint32_t> numbers);

    BuiltImage Build() const;

private:
    ImageBits bits;
    std::uint16_t machine;
    std::uint32_t sectionAlignment = 0x1000;
    std::uint32_t fileAlignment = 0x200;
    std::vector<std::string> exports;
    std::uint32_t ordinals = 0;
    std::vector<std::string> imports;
    std::vector<std::string> delayImports;
    std::string version;
    std::uint16_t versionLanguage = 0;
    std::vector<std::uint32_t> typeLibraries;
};

} // namespace keyreap::testsupport
