#pragma once

#include "platform/core/text/guid.h"
#include "platform/core/text/hash.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace keyreap {

// The WMI qualifiers of a property that the decoder needs, read once when the schema is loaded. An empty
// optional means that the qualifier is missing.
struct PropertyQualifiers {
    bool pointer = false;                          // "Pointer" or "PointerType", with any value
    bool format = false;                           // "Format", with any value
    std::optional<std::wstring> stringTermination; // "StringTermination"
    std::optional<std::wstring> extension;         // "Extension"
    std::optional<std::int32_t> max;               // "MAX", as a number
};

// One property of an event class. cimType is a CIMTYPE_ENUMERATION value of wbemcli.h, with bit 0x2000 for
// an array.
struct PropertyDescriptor {
    std::wstring name;
    std::uint32_t cimType = 4095;
    PropertyQualifiers qualifiers;
};

// The description of the events of one class, version and type: their properties in payload order.
struct EventSchema {
    std::vector<PropertyDescriptor> properties;
    std::uint32_t pointerSize = 0; // the log's when the schema was made: 4 or 8
};

// How a look-up of an event class ended.
enum class SchemaLookup {
    noClass,    // no class describes such an event
    loaded,     // the schema is filled
    unreadable, // there is a class, but its properties can't be read; the schema is empty
};

// A source of event classes: WMI (WmiConnection), or a table in a test.
class EventClasses {
public:
    virtual ~EventClasses() = default;

    // Looks up the class that describes an event, by its GUID in the form of StringFromGUID2, its version and
    // type, and fills schema.properties from it.
    virtual SchemaLookup Load(std::wstring_view guidText, std::uint16_t version, std::uint8_t type,
                              EventSchema& schema) = 0;
};

// The cache of a handler: key text (SchemaKey, or empty for the empty schema) to schema.
using SchemaCache = std::unordered_map<std::wstring, EventSchema, Fnv1aHash, std::equal_to<>>;

// A GUID in the form of StringFromGUID2: braces and upper-case hexadecimal.
std::wstring GuidText(const Guid& guid);

// The cache's key for an event: GUID text, "-", version, "-", type, in decimal.
std::wstring SchemaKey(const Guid& guid, std::uint16_t version, std::uint8_t type);

} // namespace keyreap
