#pragma once

#include "regfile/pathpairs.h"
#include "regfile/regfilewriter.h"
#include "registry/hiveredirection.h"

#include <functional>
#include <string>
#include <string_view>

namespace keyreap {

// Creates the .reg file, then calls `formPathPairs`, then writes the four temporary trees. Always true; a
// failure to write the file raises the writer's exception.
bool HarvestHives(std::wstring_view regFilePath, const HiveKeys& keys,
                  const std::function<PathPairs()>& formPathPairs);

// Writes the four temporary trees, each under the name of the root that it replaces: a key, its values, then
// its subkeys, all in the order in which the system enumerates them. A key that can't be read is a header
// without values. Raises what the writer raises.
void HarvestTrees(RegFileWriter& writer, const HiveKeys& keys);

// Writes one key with its whole subtree, under the name `keyPath`.
void HarvestKey(RegFileWriter& writer, const RegKey& key, const std::wstring& keyPath);

} // namespace keyreap
