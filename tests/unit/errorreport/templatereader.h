#pragma once

#include "platform/core/errorreport/dialogtemplate.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

// Reads a dialog template back field by field, by the layout published for DLGTEMPLATE and DLGITEMTEMPLATE.
namespace keyreap::testsupport {

struct ReadControl {
    std::uint32_t style;
    std::uint32_t extendedStyle;
    std::int16_t x, y, cx, cy;
    std::uint16_t id;
    TemplateName windowClass;
    TemplateName text;
    std::uint16_t creationDataSize;
    std::size_t offset;
};

struct ReadTemplate {
    std::uint32_t style;
    std::uint32_t extendedStyle;
    std::uint16_t count;
    std::int16_t x, y, cx, cy;
    TemplateName menu;
    TemplateName windowClass;
    std::wstring title;
    std::uint16_t fontPoints;
    std::wstring fontName;
    std::vector<ReadControl> controls;
    std::size_t size;
};

// Throws std::out_of_range if the template is cut short.
ReadTemplate ReadDialogTemplate(std::span<const std::byte> bytes);

// Builds a template and reads it back.
ReadTemplate ReadDialogTemplate(const DialogTemplateBuilder& builder);

} // namespace keyreap::testsupport
