#include "tests/unit/errorreport/templatereader.h"

#include <stdexcept>

namespace keyreap::testsupport {

namespace {

class Reader {
public:
    explicit Reader(std::span<const std::byte> bytes) : bytes(bytes) {}

    std::size_t Offset() const { return offset; }

    std::uint16_t Word() {
        if (offset + 2 > bytes.size()) {
            throw std::out_of_range("the template is cut short");
        }
        const auto low = std::to_integer<unsigned>(bytes[offset]);
        const auto high = std::to_integer<unsigned>(bytes[offset + 1]);
        offset += 2;
        return static_cast<std::uint16_t>(low | high << 8);
    }

    std::int16_t Signed() { return static_cast<std::int16_t>(Word()); }

    std::uint32_t DoubleWord() {
        const std::uint32_t low = Word();
        return low | static_cast<std::uint32_t>(Word()) << 16;
    }

    std::wstring Text() {
        std::wstring text;
        while (const std::uint16_t unit = Word()) {
            text += static_cast<wchar_t>(unit);
        }
        return text;
    }

    TemplateName Name() {
        const std::size_t start = offset;
        if (Word() == 0xFFFF) {
            return Word();
        }
        offset = start;
        return Text();
    }

    void Align() { offset = (offset + 3) & ~std::size_t{3}; }

private:
    std::span<const std::byte> bytes;
    std::size_t offset = 0;
};

ReadControl ReadOne(Reader& reader) {
    ReadControl control = {};
    control.offset = reader.Offset();
    control.style = reader.DoubleWord();
    control.extendedStyle = reader.DoubleWord();
    control.x = reader.Signed();
    control.y = reader.Signed();
    control.cx = reader.Signed();
    control.cy = reader.Signed();
    control.id = reader.Word();
    control.windowClass = reader.Name();
    control.text = reader.Name();
    control.creationDataSize = reader.Word();
    reader.Align();
    return control;
}

} // namespace

ReadTemplate ReadDialogTemplate(std::span<const std::byte> bytes) {
    Reader reader(bytes);
    ReadTemplate result = {};
    result.style = reader.DoubleWord();
    result.extendedStyle = reader.DoubleWord();
    result.count = reader.Word();
    result.x = reader.Signed();
    result.y = reader.Signed();
    result.cx = reader.Signed();
    result.cy = reader.Signed();
    result.menu = reader.Name();
    result.windowClass = reader.Name();
    result.title = reader.Text();
    result.fontPoints = reader.Word();
    result.fontName = reader.Text();
    reader.Align();
    for (std::uint16_t i = 0; i < result.count; ++i) {
        result.controls.push_back(ReadOne(reader));
    }
    result.size = reader.Offset();
    return result;
}

ReadTemplate ReadDialogTemplate(const DialogTemplateBuilder& builder) {
    std::vector<std::byte> bytes(builder.Build(nullptr));
    builder.Build(bytes.data());
    return ReadDialogTemplate(bytes);
}

} // namespace keyreap::testsupport
