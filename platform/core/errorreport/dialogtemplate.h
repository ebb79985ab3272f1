#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

// Dialog templates in memory: the bytes of DLGTEMPLATE and DLGITEMTEMPLATE as published for the platform.
namespace keyreap {

// A window class or a text in a template: a name, or a number that the system knows.
using TemplateName = std::variant<std::uint16_t, std::wstring>;

// In dialog units.
struct TemplateArea {
    std::int16_t x;
    std::int16_t y;
    std::int16_t cx;
    std::int16_t cy;
};

struct TemplateControl {
    TemplateName windowClass;
    std::uint16_t id;
    TemplateName text;
    std::uint32_t style;
    std::uint32_t extendedStyle;
    TemplateArea area;
};

// The font is always "MS Shell Dlg" at 8 points, so the style must contain DS_SETFONT.
class DialogTemplateBuilder {
public:
    DialogTemplateBuilder(std::wstring title, std::uint32_t style, std::uint32_t extendedStyle,
                          TemplateArea area);

    void AddControl(TemplateControl control);

    // Returns the size in bytes, and writes that many bytes unless the buffer is null.
    std::size_t Build(std::byte* buffer) const;

private:
    std::wstring title;
    std::uint32_t style;
    std::uint32_t extendedStyle;
    TemplateArea area;
    std::vector<TemplateControl> controls;
};

} // namespace keyreap
