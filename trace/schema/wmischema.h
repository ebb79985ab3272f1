#pragma once

#include "trace/schema/eventschema.h"

#include <windows.h>

#include <comdef.h>
#include <wbemcli.h>

#include <optional>

namespace keyreap {

// Reads one qualifier into an empty value. The status is that of IWbemQualifierSet::Get.
HRESULT ReadQualifier(IWbemQualifierSet& qualifiers, const wchar_t* name, _variant_t& value);

// A variant as a number, if it can be changed to one. An empty one is none.
std::optional<std::int32_t> NumberOf(const VARIANT& value);

// Fills the schema's properties from an event class, each at the place that its "WmiDataId" (from 1 on) gives
// it. If anything can't be read, or lies outside the list, the list is empty and the result false.
bool LoadSchema(EventSchema& schema, IWbemClassObject& eventClass);

} // namespace keyreap
