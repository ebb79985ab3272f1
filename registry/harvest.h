#pragma once

#include "regfile/pathpairs.h"
#include "regfile/regfilewriter.h"
#include "registry/hiveredirection.h"

#include <functional>
#include <string>
#include <string_view>

namespace keyreap {

// Makes the .reg file, asks for the path pairs once it is there, and writes the four temporary trees. True; a
// failure to write the file leaves as the writer's exception.
bool HarvestHives(std::wstring_view regFilePath, const HiveKeys& keys,
                  const std::function<PathPairs()>& formPathPairs);

// Writes the four temporary trees, each under the name of the root that it stands for: a key, its values,
// then its subkeys, all in the order in which the system enumerates them. A key that can't be read is a bare
// header. Raises what the writer raises.
void HarvestTrees(RegFileWriter& writer, const HiveKeys& keys);

// One key with all below it, under the name `keyPath`.
void HarvestKey(RegFileWriter& writer, const RegKey& key, const std::wstring& keyPath);

} // namespace keyreap
