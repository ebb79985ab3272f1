#pragma once

#include "trace/schema/eventschema.h"

#include <windows.h>

#include <comdef.h>
#include <wbemcli.h>

#include <optional>

namespace keyreap {

// Reads one qualifier into an empty value, and returns the status of IWbemQualifierSet::Get.
HRESULT ReadQualifier(IWbemQualifierSet& qualifiers, const wchar_t* name, _variant_t& value);

// A variant as a number. Empty for an empty variant and for one that can't be converted.
std::optional<std::int32_t> NumberOf(const VARIANT& value);

// Fills the schema's properties from an event class, in the order of their "WmiDataId", which starts at 1. If
// anything can't be read, or an id is outside the list, the list is empty and the result false.
bool LoadSchema(EventSchema& schema, IWbemClassObject& eventClass);

} // namespace keyreap
