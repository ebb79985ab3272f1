#pragma once

#include "regmodel/regentry.h"

#include <nlohmann/json_fwd.hpp>

namespace keyreap {

// Appends what a document's entries make up, an element for each object, with the facts that the registry
// has. Paths are those of the capture.
void AppendObjects(nlohmann::ordered_json& list, const RegDocument& document);

} // namespace keyreap
