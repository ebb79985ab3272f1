#include "tests/support/imagebuilder.h"

#include "tests/support/bytewriter.h"

#include <utility>

namespace keyreap::testsupport {

namespace {

constexpr std::size_t ntOffset = 0x80;
constexpr std::size_t headersSize = 0x400;
constexpr std::uint32_t directoryCount = 16;
// Below 4 GiB in both forms: a 32-bit Wine can't lay out an image above.
constexpr std::uint32_t imageBase = 0x10000000;

struct Section {
    std::string name;
    std::uint32_t directory;
    std::uint32_t rva = 0;
    std::uint32_t offset = 0;
    std::string bytes;
    std::map<std::string, std::size_t> places;
};

std::uint32_t Up(std::size_t size, std::uint32_t unit) {
    return static_cast<std::uint32_t>((size + unit - 1) / unit * unit);
}

Section ExportSection(std::uint32_t rva, const std::vector<std::string>& names, std::uint32_t nameless) {
    const auto count = static_cast<std::uint32_t>(names.size());
    const std::uint32_t functions = rva + 40;
    const std::uint32_t nameTable = functions + 4 * (count + nameless);
    const std::uint32_t ordinalTable = nameTable + 4 * count;
    ByteWriter writer;
    for (const std::uint32_t field :
         {0U, 0U, 0U, 0U, 1U, count + nameless, count, functions, nameTable, ordinalTable}) {
        writer.Put(field);
    }
    writer.FillTo(ordinalTable - rva + 2 * count);
    for (std::uint32_t i = 0; i < count; ++i) {
        writer.Set(functions - rva + 4 * i, rva);
        writer.Set(nameTable - rva + 4 * i, static_cast<std::uint32_t>(rva + writer.Size()));
        writer.Set(ordinalTable - rva + 2 * i, static_cast<std::uint16_t>(i));
        writer.PutZeroTerminated(names[i]);
    }
    return {".edata", 0, rva, 0, writer.Bytes(), {{"exports", 0}, {"exportNames", nameTable - rva}}};
}

Section DescriptorSection(const char* place, std::uint32_t directory, std::uint32_t rva,
                          const std::vector<std::string>& names, std::size_t entrySize,
                          std::size_t nameField) {
    ByteWriter writer;
    writer.FillTo(entrySize * (names.size() + 1));
    for (std::size_t i = 0; i < names.size(); ++i) {
        writer.Set(entrySize * i + nameField, static_cast<std::uint32_t>(rva + writer.Size()));
        writer.PutZeroTerminated(names[i]);
    }
    return {std::string(".") + place, directory, rva, 0, writer.Bytes(), {{place, 0}}};
}

constexpr std::uint32_t subdirectory = 0x80000000;

void PutResourceDirectory(ByteWriter& writer, std::size_t names, std::size_t numbers) {
    writer.FillTo(writer.Size() + 12);
    writer.Put(static_cast<std::uint16_t>(names));
    writer.Put(static_cast<std::uint16_t>(numbers));
}

// One directory level each for type, name and language, and the data after them.
Section ResourceSection(std::uint32_t rva, const std::string& resource, std::uint16_t language) {
    constexpr std::uint32_t versionType = 16;
    ByteWriter writer;
    const auto level = [&writer](std::uint32_t id, std::uint32_t target) {
        PutResourceDirectory(writer, 0, 1);
        writer.Put(id);
        writer.Put(target);
    };
    level(versionType, subdirectory | 24);
    level(1, subdirectory | 48);
    level(language, 72);
    writer.Put(rva + 88);
    writer.Put(static_cast<std::uint32_t>(resource.size()));
    writer.Put<std::uint64_t>(0);
    writer.PutBytes(resource);
    return {".rsrc", 2, rva, 0, writer.Bytes(), {{"resources", 0}}};
}

// The type's name at the end, before it for each number a directory of one language, and its data.
Section TypeLibrarySection(std::uint32_t rva, const std::vector<std::uint32_t>& numbers) {
    constexpr std::uint32_t sizeOfOne = 24 + 16 + 4;
    constexpr std::u16string_view type = u"TYPELIB";
    const auto count = static_cast<std::uint32_t>(numbers.size());
    const std::uint32_t first = 24 + 16 + 8 * count;
    ByteWriter writer;
    PutResourceDirectory(writer, 1, 0);
    writer.Put(subdirectory | (first + count * sizeOfOne));
    writer.Put(subdirectory | 24);
    PutResourceDirectory(writer, 0, count);
    for (std::uint32_t i = 0; i < count; ++i) {
        writer.Put(numbers[i]);
        writer.Put(subdirectory | (first + i * sizeOfOne));
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t data = first + i * sizeOfOne + 24;
        PutResourceDirectory(writer, 0, 1);
        writer.Put<std::uint32_t>(0x0409);
        writer.Put(data);
        writer.Put(rva + data + 16);
        writer.Put<std::uint32_t>(4);
        writer.Put<std::uint64_t>(0);
        writer.PutBytes("MSFT");
    }
    writer.Put(static_cast<std::uint16_t>(type.size()));
    for (const char16_t unit : type) {
        writer.Put(static_cast<std::uint16_t>(unit));
    }
    return {".rsrc", 2, rva, 0, writer.Bytes(), {{"resources", 0}}};
}

void PutOptionalHeader(ByteWriter& writer, ImageBits bits, std::uint32_t sectionAlignment,
                       std::uint32_t fileAlignment, std::uint32_t imageSize,
                       const std::vector<Section>& sections) {
    const bool is64 = bits == ImageBits::bits64;
    const std::size_t start = writer.Size();
    writer.FillTo(start + (is64 ? 112 : 96) + 8 * directoryCount);
    writer.Set<std::uint16_t>(start, is64 ? 0x20B : 0x10B);
    if (is64) {
        writer.Set<std::uint64_t>(start + 24, imageBase);
    } else {
        writer.Set<std::uint32_t>(start + 28, imageBase);
    }
    writer.Set(start + 32, sectionAlignment);
    writer.Set(start + 36, fileAlignment);
    writer.Set<std::uint16_t>(start + 40, 4); // operating system version
    writer.Set<std::uint16_t>(start + 48, 4); // subsystem version
    writer.Set(start + 56, imageSize);
    writer.Set(start + 60, Up(headersSize, fileAlignment));
    writer.Set<std::uint16_t>(start + 68, 3); // console
    const std::size_t directories = start + (is64 ? 112 : 96);
    writer.Set(directories - 4, directoryCount);
    for (const Section& section : sections) {
        writer.Set(directories + 8 * section.directory, section.rva);
        writer.Set(directories + 8 * section.directory + 4, static_cast<std::uint32_t>(section.bytes.size()));
    }
}

void PutSectionHeader(ByteWriter& writer, const Section& section, std::uint32_t fileAlignment) {
    std::string name = section.name.substr(0, 8);
    name.resize(8);
    writer.PutBytes(name);
    writer.Put(static_cast<std::uint32_t>(section.bytes.size()));
    writer.Put(section.rva);
    writer.Put(Up(section.bytes.size(), fileAlignment));
    writer.Put(section.offset);
    writer.FillTo(writer.Size() + 12);
    writer.Put<std::uint32_t>(0x40000040); // initialised data, readable
}

} // namespace

ImageBuilder::ImageBuilder(ImageBits bits)
    : bits(bits), machine(bits == ImageBits::bits64 ? 0x8664 : 0x014C) {}

ImageBuilder& ImageBuilder::Machine(std::uint16_t value) {
    machine = value;
    return *this;
}

ImageBuilder& ImageBuilder::Aligned(std::uint32_t inMemory, std::uint32_t inFile) {
    sectionAlignment = inMemory;
    fileAlignment = inFile;
    return *this;
}

ImageBuilder& ImageBuilder::Flat() {
    return Aligned(fileAlignment, fileAlignment);
}

ImageBuilder& ImageBuilder::Exports(std::vector<std::string> names, std::uint32_t namelessOrdinals) {
    exports = std::move(names);
    ordinals = namelessOrdinals;
    return *this;
}

ImageBuilder& ImageBuilder::Imports(std::vector<std::string> names) {
    imports = std::move(names);
    return *this;
}

ImageBuilder& ImageBuilder::DelayImports(std::vector<std::string> names) {
    delayImports = std::move(names);
    return *this;
}

ImageBuilder& ImageBuilder::Version(std::string resource, std::uint16_t language) {
    version = std::move(resource);
    versionLanguage = language;
    return *this;
}

ImageBuilder& ImageBuilder::TypeLibraries(std::vector<std::uint32_t> numbers) {
    typeLibraries = std::move(numbers);
    return *this;
}

BuiltImage ImageBuilder::Build() const {
    std::vector<Section> sections;
    std::uint32_t rva = Up(headersSize, sectionAlignment);
    std::uint32_t offset = Up(headersSize, fileAlignment);
    const auto add = [&](Section section) {
        section.offset = offset;
        offset += Up(section.bytes.size(), fileAlignment);
        rva += Up(section.bytes.size(), sectionAlignment);
        sections.push_back(std::move(section));
    };
    if (!exports.empty() || ordinals != 0) {
        add(ExportSection(rva, exports, ordinals));
    }
    if (!imports.empty()) {
        add(DescriptorSection("imports", 1, rva, imports, 20, 12));
    }
    if (!delayImports.empty()) {
        add(DescriptorSection("delayImports", 13, rva, delayImports, 32, 4));
    }
    if (!version.empty()) {
        add(ResourceSection(rva, version, versionLanguage));
    }
    if (!typeLibraries.empty()) {
        add(TypeLibrarySection(rva, typeLibraries));
    }

    BuiltImage image;
    ByteWriter writer;
    writer.PutBytes("MZ");
    writer.FillTo(ntOffset);
    writer.Set(60, static_cast<std::uint32_t>(ntOffset));
    writer.PutBytes(std::string_view("PE\0\0", 4));
    writer.Put(machine);
    writer.Put(static_cast<std::uint16_t>(sections.size()));
    writer.FillTo(writer.Size() + 12);
    writer.Put<std::uint16_t>((bits == ImageBits::bits64 ? 112 : 96) + 8 * directoryCount);
    writer.Put<std::uint16_t>(0x2022); // executable, large addresses, DLL
    image.places = {{"dos", 0}, {"nt", ntOffset}, {"optional", writer.Size()}};
    PutOptionalHeader(writer, bits, sectionAlignment, fileAlignment, rva, sections);
    image.places["directories"] = writer.Size() - 8 * directoryCount;
    image.places["sections"] = writer.Size();
    for (const Section& section : sections) {
        PutSectionHeader(writer, section, fileAlignment);
    }
    image.places["headersEnd"] = writer.Size();
    for (const Section& section : sections) {
        writer.FillTo(section.offset);
        writer.PutBytes(section.bytes);
        for (const auto& [place, at] : section.places) {
            image.places[place] = section.offset + at;
            image.places[place + "End"] = writer.Size();
        }
    }
    writer.FillTo(offset);
    image.bytes = writer.Bytes();
    return image;
}

} // namespace keyreap::testsupport
