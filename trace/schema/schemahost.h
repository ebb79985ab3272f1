#pragma once

#include "trace/schema/eventschema.h"

#include <memory>
#include <string>
#include <string_view>

// The system services that schema-driven decoding needs. A host without WMI has a plain form of each.
namespace keyreap {

// The system's event classes. Never null; if they can't be reached, no event has a class.
std::unique_ptr<EventClasses> OpenEventClasses();

// Converts narrow text by the system's code page; in the plain form each byte is the character of its value.
std::wstring WidenNarrowText(std::string_view text);

} // namespace keyreap
