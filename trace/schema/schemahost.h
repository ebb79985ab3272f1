#pragma once

#include "trace/schema/eventschema.h"

#include <memory>
#include <string>
#include <string_view>

// What schema-driven decoding asks of the system it runs on; a host without WMI has a plain form of each.
namespace keyreap {

// The system's event classes. Never null; where they can't be reached, no event has a class.
std::unique_ptr<EventClasses> OpenEventClasses();

// Narrow text as wide text, by the system's code page; elsewhere each byte as the character of its value.
std::wstring WidenNarrowText(std::string_view text);

} // namespace keyreap
