#include "tests/support/versionresource.h"

#include "tests/support/bytewriter.h"

namespace keyreap::testsupport {

namespace {

enum class ValueType : std::uint16_t { binary = 0, text = 1 };

// One block: lengths, type, key, value and the blocks inside it, each at a multiple of four bytes. The
// value's length is in bytes, or in characters for text.
std::string Block(std::u16string_view key, ValueType type, std::uint16_t valueLength, std::string_view value,
                  const std::vector<std::string>& children) {
    ByteWriter writer;
    writer.Put<std::uint16_t>(0);
    writer.Put(valueLength);
    writer.Put(static_cast<std::uint16_t>(type));
    writer.PutWideZeroTerminated(key);
    writer.Align(4);
    writer.PutBytes(value);
    for (const std::string& child : children) {
        writer.Align(4);
        writer.PutBytes(child);
    }
    writer.Set(0, static_cast<std::uint16_t>(writer.Size()));
    return writer.Bytes();
}

std::string StringBlock(const std::u16string& name, const std::u16string& text) {
    ByteWriter value;
    value.PutWideZeroTerminated(text);
    return Block(name, ValueType::text, static_cast<std::uint16_t>(text.size() + 1), value.Bytes(), {});
}

std::u16string Digits(std::uint16_t value) {
    std::u16string text;
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += u"0123456789abcdef"[(value >> shift) & 0xF];
    }
    return text;
}

} // namespace

VersionResource& VersionResource::FileVersion(std::uint16_t first, std::uint16_t second, std::uint16_t third,
                                              std::uint16_t fourth) {
    ByteWriter writer;
    writer.Put<std::uint32_t>(0xFEEF04BD);
    writer.Put<std::uint32_t>(0x00010000);
    writer.Put(second);
    writer.Put(first);
    writer.Put(fourth);
    writer.Put(third);
    writer.FillTo(52);
    fixedPart = writer.Bytes();
    return *this;
}

VersionResource& VersionResource::Table(std::uint16_t language, std::uint16_t codePage, Strings strings) {
    tables.push_back({language, codePage, std::move(strings)});
    return *this;
}

VersionResource& VersionResource::Translation(std::uint16_t language, std::uint16_t codePage) {
    ByteWriter writer;
    writer.Put(language);
    writer.Put(codePage);
    translations += writer.Bytes();
    return *this;
}

std::string VersionResource::Bytes() const {
    std::vector<std::string> tableBlocks;
    for (const StringTable& table : tables) {
        std::vector<std::string> strings;
        for (const auto& [name, text] : table.strings) {
            strings.push_back(StringBlock(name, text));
        }
        tableBlocks.push_back(
            Block(Digits(table.language) + Digits(table.codePage), ValueType::text, 0, {}, strings));
    }
    std::vector<std::string> children;
    if (!tableBlocks.empty()) {
        children.push_back(Block(u"StringFileInfo", ValueType::text, 0, {}, tableBlocks));
    }
    if (!translations.empty()) {
        const auto length = static_cast<std::uint16_t>(translations.size());
        children.push_back(Block(u"VarFileInfo", ValueType::text, 0, {},
                                 {Block(u"Translation", ValueType::binary, length, translations, {})}));
    }
    return Block(u"VS_VERSION_INFO", ValueType::binary, static_cast<std::uint16_t>(fixedPart.size()),
                 fixedPart, children);
}

std::string VersionResource::Of(std::u16string company) {
    return VersionResource()
        .FileVersion(1, 2, 3, 4)
        .Table(0x0409, 0x04B0, {{u"CompanyName", std::move(company)}})
        .Translation(0x0409, 0x04B0)
        .Bytes();
}

} // namespace keyreap::testsupport
