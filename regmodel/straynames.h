#pragma once

#include <string_view>

// Names in a captured file that no server meant. The result of a trace has them where the events name keys
// that the replay can't relate to the names that the server used.
namespace keyreap {

enum class StrayName {
    None,
    // The tree that the roots are redirected to while a server registers.
    TemporaryTree,
    // A key without a root of its own: the hive of an account in the place of a machine's key, or no root.
    NoRoot,
};

// For a key's path in a file. A key of the temporary tree below no root of its own is NoRoot, which is the
// cause.
StrayName StrayNameOf(std::wstring_view keyPath);

// True if the path of a key, or a text, contains the path of the temporary tree.
bool NamesTemporaryTree(std::wstring_view text);

} // namespace keyreap
