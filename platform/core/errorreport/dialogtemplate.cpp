#include "platform/core/errorreport/dialogtemplate.h"

#include <utility>

namespace keyreap {

namespace {

constexpr std::uint16_t fontPoints = 8;
constexpr wchar_t fontName[] = L"MS Shell Dlg";
constexpr std::uint16_t numberFollows = 0xFFFF;

// Counts the bytes that it gets, and writes them if there is a buffer.
class TemplateWriter {
public:
    explicit TemplateWriter(std::byte* buffer) : buffer(buffer) {}

    std::size_t Size() const { return size; }

    void PutWord(std::uint16_t value) {
        PutByte(static_cast<std::uint8_t>(value & 0xFF));
        PutByte(static_cast<std::uint8_t>(value >> 8));
    }

    void PutDoubleWord(std::uint32_t value) {
        PutWord(static_cast<std::uint16_t>(value & 0xFFFF));
        PutWord(static_cast<std::uint16_t>(value >> 16));
    }

    void PutArea(const TemplateArea& area) {
        for (const std::int16_t side : {area.x, area.y, area.cx, area.cy}) {
            PutWord(static_cast<std::uint16_t>(side));
        }
    }

    // Up to a zero unit in the text, since that ends it for the reader of the template.
    void PutText(const std::wstring& text) {
        for (const wchar_t unit : text.substr(0, text.find(L'\0'))) {
            PutWord(static_cast<std::uint16_t>(unit));
        }
        PutWord(0);
    }

    void PutName(const TemplateName& name) {
        if (const std::wstring* text = std::get_if<std::wstring>(&name)) {
            PutText(*text);
            return;
        }
        PutWord(numberFollows);
        PutWord(std::get<std::uint16_t>(name));
    }

    // Like PutName, but the number 0 means no text.
    void PutOptionalName(const TemplateName& name) {
        name == TemplateName(std::uint16_t{0}) ? PutWord(0) : PutName(name);
    }

    void PadToDoubleWord() {
        while (size % 4 != 0) {
            PutByte(0);
        }
    }

    void OverwriteWord(std::size_t offset, std::uint16_t value) {
        const std::size_t end = std::exchange(size, offset);
        PutWord(value);
        size = end;
    }

private:
    void PutByte(std::uint8_t value) {
        if (buffer) {
            buffer[size] = std::byte{value};
        }
        ++size;
    }

    std::byte* buffer;
    std::size_t size = 0;
};

void PutControl(TemplateWriter& writer, const TemplateControl& control) {
    writer.PutDoubleWord(control.style);
    writer.PutDoubleWord(control.extendedStyle);
    writer.PutArea(control.area);
    writer.PutWord(control.id);
    writer.PutName(control.windowClass);
    writer.PutOptionalName(control.text);
    writer.PutWord(0); // no creation data
    writer.PadToDoubleWord();
}

} // namespace

DialogTemplateBuilder::DialogTemplateBuilder(std::wstring title, std::uint32_t style,
                                             std::uint32_t extendedStyle, TemplateArea area)
    : title(std::move(title)), style(style), extendedStyle(extendedStyle), area(area) {}

void DialogTemplateBuilder::AddControl(TemplateControl control) {
    controls.push_back(std::move(control));
}

std::size_t DialogTemplateBuilder::Build(std::byte* buffer) const {
    TemplateWriter writer(buffer);
    writer.PutDoubleWord(style);
    writer.PutDoubleWord(extendedStyle);
    const std::size_t countOffset = writer.Size();
    writer.PutWord(0); // the count, overwritten at the end
    writer.PutArea(area);
    writer.PutWord(0); // no menu
    writer.PutWord(0); // the class of all dialogs
    writer.PutText(title);
    writer.PutWord(fontPoints);
    writer.PutText(fontName);
    writer.PadToDoubleWord();
    for (const TemplateControl& control : controls) {
        PutControl(writer, control);
    }
    writer.OverwriteWord(countOffset, static_cast<std::uint16_t>(controls.size()));
    return writer.Size();
}

} // namespace keyreap
